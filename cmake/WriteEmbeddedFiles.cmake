# Writes OUT: a C++ table of every file below DIR (relative path -> contents), for the desktop
# shell pieces the recorder installs or loads at run time.
file(GLOB_RECURSE files RELATIVE ${DIR} ${DIR}/*)
list(SORT files)
set(body "// Generated from resources/desktop-shells; do not edit.\n#include \"platform/linux/shell_files.h\"\n\nnamespace velto::platform {\n\nconst std::vector<ShellFile>& shellFiles() {\n  static const std::vector<ShellFile> files = {\n")
foreach(path ${files})
  file(READ ${DIR}/${path} text)
  string(APPEND body "      {\"${path}\", R\"velto_file(${text})velto_file\"},\n")
endforeach()
string(APPEND body "  };\n  return files;\n}\n\n}  // namespace velto::platform\n")
file(WRITE ${OUT}.tmp "${body}")
file(COPY_FILE ${OUT}.tmp ${OUT} ONLY_IF_DIFFERENT)
