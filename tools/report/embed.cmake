# Writes the report page's template, style and script into a C++ header as character arrays,
# so that rcc carries them and the page it writes needs no other file.
# Usage: cmake -DOUT=<header> -DPAGE=<html> -DSTYLE=<css> -DSCRIPT=<js> -P embed.cmake
set(text "// Generated from tools/report/ at build time; edit those files instead.\n#pragma once\n\nnamespace rcctool {\n")
foreach(pair "kReportPage;${PAGE}" "kReportStyle;${STYLE}" "kReportScript;${SCRIPT}")
  list(GET pair 0 name)
  list(GET pair 1 file)
  file(READ "${file}" hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
  string(APPEND text "inline constexpr char ${name}[] = {${bytes}};\n")
endforeach()
string(APPEND text "}  // namespace rcctool\n")
file(WRITE "${OUT}.tmp" "${text}")
file(RENAME "${OUT}.tmp" "${OUT}")
