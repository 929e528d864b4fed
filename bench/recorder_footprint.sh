#!/usr/bin/env bash
# Resident memory and CPU of `velto record` on an idle Xvfb desktop with a private session bus.
# Reported, not asserted:  bench/recorder_footprint.sh BUILD_BIN_DIR [SECONDS] [DISPLAY_NUMBER]
# Prints VmHWM, VmRSS, RssAnon, RssFile (kB) at the end and utime+stime (s) over the run.
# VELTO_FOOTPRINT_STORE names a store file to start from (a copy is used), for instance the one
# bench/report_bench.cc keeps in VELTO_BENCH_STORE: a year of history with a full day today.
# VELTO_FOOTPRINT_SETTINGS names a settings.json to start from (say, one that keeps history
# forever, so that a year is not purged down to 90 days at launch).
# VELTO_FOOTPRINT_MAPS=1 also lists the largest resident mappings.
set -euo pipefail
bin=$(realpath "${1:?usage: recorder_footprint.sh BUILD_BIN_DIR [SECONDS] [DISPLAY]}")
seconds=${2:-600}
display=${3:-78}
scratch=$(mktemp -d)
trap 'kill "$xvfb" 2>/dev/null || true; rm -rf "$scratch"' EXIT

Xvfb ":$display" -screen 0 1280x800x24 -nolisten tcp >"$scratch/xvfb.log" 2>&1 &
xvfb=$!
sleep 1
mkdir -p "$scratch"/{config,data,state,runtime}
chmod 700 "$scratch/runtime"
if [[ -n "${VELTO_FOOTPRINT_SETTINGS:-}" ]]; then
  mkdir -p "$scratch/config/Velto"
  cp "$VELTO_FOOTPRINT_SETTINGS" "$scratch/config/Velto/settings.json"
fi
if [[ -n "${VELTO_FOOTPRINT_STORE:-}" ]]; then
  mkdir -p "$scratch/data/Velto"
  cp "$VELTO_FOOTPRINT_STORE" "$scratch/data/Velto/Velto.sqlite"
fi
export DISPLAY=":$display" XDG_CONFIG_HOME="$scratch/config" XDG_DATA_HOME="$scratch/data"
export XDG_STATE_HOME="$scratch/state" XDG_RUNTIME_DIR="$scratch/runtime"

dbus-run-session -- bash -c '
  "$1" record 2>"$2/record.log" &
  recorder=$!
  sleep 3
  ticks=$(getconf CLK_TCK)
  cpu() { awk "{print \$14 + \$15}" "/proc/$recorder/stat"; }
  start=$(cpu)
  sleep "$3"
  end=$(cpu)
  grep -E "^(VmHWM|VmRSS|RssAnon|RssFile)" "/proc/$recorder/status"
  if [[ -n "${VELTO_FOOTPRINT_MAPS:-}" ]]; then
    awk '"'"'/^[0-9a-f]+-[0-9a-f]+ /{n=$6; if(n=="")n="[anon]"} /^Rss:/{r[n]+=$2}
         END{for(n in r) if(r[n]>0) printf "%8d kB %s\n", r[n], n}'"'"' \
      "/proc/$recorder/smaps" | sort -rn | head -15
  fi
  echo "cpu_seconds: $(awk "BEGIN {print ($end - $start) / $ticks}") over $3 s"
  kill -TERM "$recorder"
  wait "$recorder" && echo "recorder stopped cleanly" || echo "recorder exit status $?"
  cat "$2/record.log"
' footprint "$bin/velto" "$scratch" "$seconds"
