# Puts the page together and writes it as a C++ source.
#
#   cmake -D FOLDER=page/ -D SCRIPTS=a.js|b.js -D OUTPUT=report_page.cpp -P embed_page.cmake

file(READ ${FOLDER}/page.html page)
file(READ ${FOLDER}/page.css style)
string(REPLACE "|" ";" names "${SCRIPTS}")
set(script "\"use strict\";\n(() => {\n")
foreach(name IN LISTS names)
  file(READ ${FOLDER}/${name} text)
  string(APPEND script "${text}")
endforeach()
string(APPEND script "})();\n")
string(REPLACE "{{style}}" "${style}" page "${page}")
string(REPLACE "{{script}}" "${script}" page "${page}")

# As numbers: no text needs to be escaped, and no compiler finds it too long.
file(WRITE ${OUTPUT}.html "${page}")
file(READ ${OUTPUT}.html bytes HEX)
file(REMOVE ${OUTPUT}.html)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
string(REPEAT "0x..," 16 row)
string(REGEX REPLACE "(${row})" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include \"tools/export/report_page.h\"

static const unsigned char PAGE[] = {
${bytes}
};

std::string_view reportPage()
{
    return {reinterpret_cast<const char*>(PAGE), sizeof PAGE};
}
")
