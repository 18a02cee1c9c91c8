# Joins the parts of the chart's page into one file and writes it as C++, for it is part of the program. Without
# LIBRARY, the file of the chart library, the page is empty. The scripts are joined in the order of SCRIPTS, names with
# commas between them.
set(page "")
if(LIBRARY)
  file(READ ${SOURCE}/page.html page)
  string(REPLACE "," ";" scripts "${SCRIPTS}")
  set(joined "")
  foreach(script IN LISTS scripts)
    file(READ ${SOURCE}/${script} text)
    string(APPEND joined "\n// ---- ${script}\n\n${text}")
  endforeach()
  set(name script)  # "@script@" itself would be taken for a variable
  string(REPLACE "@${name}@" "${joined}" page "${page}")
  foreach(part IN ITEMS style:${SOURCE}/page.css library:${LIBRARY} license:${LICENSE})
    string(REGEX MATCH "^([a-z]+):(.*)$" matched ${part})
    set(name ${CMAKE_MATCH_1})
    file(READ ${CMAKE_MATCH_2} text)
    if(name STREQUAL license)
      string(REPLACE "&" "&amp;" text "${text}")
      string(REPLACE "<" "&lt;" text "${text}")
    endif()
    string(REPLACE "@${name}@" "${text}" page "${page}")
  endforeach()
endif()
file(WRITE ${OUTPUT}.html "${page}")
file(READ ${OUTPUT}.html bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "((0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,))" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include \"chart_template.h\"

namespace sarvane::study {
namespace {

constexpr unsigned char Bytes[] = {
${bytes}0};

}  // namespace

std::string_view ChartTemplate() { return {reinterpret_cast<const char*>(Bytes), sizeof(Bytes) - 1}; }

}  // namespace sarvane::study
")
