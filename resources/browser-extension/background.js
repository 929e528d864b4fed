// Reports the active tab of the focused window to Velto's native messaging host, which hands
// it to the recorder on this computer. What leaves the browser: the tab's address cut to its
// origin (scheme and host), its title, and whether the window is private; for a private window
// only that it is private. Reported on tab activation, navigation, title change and window
// focus change, and once at start-up; nothing else is read or sent.
"use strict";

const HOST = "org.velto.browser_host";
const api = globalThis.browser ?? globalThis.chrome;
// The host refuses longer texts; titles are cut well inside its byte limit.
const MAX_TITLE_CHARS = 250;
const NO_TAB = { url: "", title: "", private: false };

let port = null;
let lastSent = null;

function connect() {
  if (port) return port;
  try {
    port = api.runtime.connectNative(HOST);
  } catch (error) {
    port = null;
    return null;
  }
  port.onDisconnect.addListener(() => {
    port = null;
    lastSent = null;
  });
  return port;
}

function send(message) {
  const text = JSON.stringify(message);
  if (text === lastSent) return;
  const link = connect();
  if (!link) return;
  try {
    link.postMessage(message);
    lastSent = text;
  } catch (error) {
    port = null;
    lastSent = null;
  }
}

// The message for `tab`: no tab for pages that are not web pages or files (new tab pages,
// settings, extensions), and nothing but the flag for a private window.
function messageFor(tab) {
  if (!tab) return NO_TAB;
  if (tab.incognito) return { url: "", title: "", private: true };
  let origin;
  try {
    const address = new URL(tab.url || "");
    if (address.protocol === "file:") origin = "file:///";
    else if (address.protocol === "http:" || address.protocol === "https:")
      origin = address.protocol + "//" + address.host + "/";
    else return NO_TAB;
  } catch (error) {
    return NO_TAB;
  }
  return { url: origin, title: (tab.title || "").slice(0, MAX_TITLE_CHARS), private: false };
}

async function reportFront() {
  try {
    const [tab] = await api.tabs.query({ active: true, lastFocusedWindow: true });
    send(messageFor(tab));
  } catch (error) {
    send(NO_TAB);
  }
}

api.tabs.onActivated.addListener(() => reportFront());
api.tabs.onUpdated.addListener((tabId, change, tab) => {
  if (tab.active && (change.url !== undefined || change.title !== undefined ||
                     change.status === "complete")) {
    reportFront();
  }
});
api.windows.onFocusChanged.addListener((windowId) => {
  // Focus went to another program, or to a private window this extension may not see.
  if (windowId === api.windows.WINDOW_ID_NONE) send(NO_TAB);
  else reportFront();
});

reportFront();
