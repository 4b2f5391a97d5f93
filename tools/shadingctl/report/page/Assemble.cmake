# Makes one page of its sources: the text before its data and the text after them, as string literals of a C++ file.
# cmake -DPAGE=DIR -DDYGRAPHS=DIR -DCOPYRIGHT=FILE -DSCRIPTS=A.js,B.js -DOUTPUT=FILE -P Assemble.cmake
cmake_minimum_required(VERSION 3.25)
file(READ ${PAGE}/page.html page)
string(REPLACE "," ";" names "${SCRIPTS}")
set(scripts "")
foreach(name IN LISTS names)
  file(READ ${PAGE}/${name} script)
  string(REPLACE "'use strict';\n" "" script "${script}")
  string(APPEND scripts "${script}\n")
endforeach()
set(scripts "'use strict';\n${scripts}")
file(READ ${PAGE}/style.css style)
file(READ ${DYGRAPHS}/dygraph.min.css dygraph_style)
file(READ ${DYGRAPHS}/dygraph.min.js dygraph)
file(READ ${COPYRIGHT} copyright)
string(REPLACE "--" "- -" copyright "${copyright}")  # which a comment may not hold
# Its source map is another file, which the page has none of.
string(REGEX REPLACE "\n//# sourceMappingURL=[^\n]*" "" dygraph "${dygraph}")
string(REGEX REPLACE "/\\*# sourceMappingURL=[^*]*\\*/" "" dygraph_style "${dygraph_style}")
string(REPLACE "@dygraph.min.css@" "${dygraph_style}" page "${page}")
string(REPLACE "@style.css@" "${style}" page "${page}")
string(REPLACE "@dygraphs.copyright@" "${copyright}" page "${page}")
string(REPLACE "@dygraph.min.js@" "${dygraph}" page "${page}")
string(REPLACE "@scripts@" "${scripts}" page "${page}")

# The policy lets no other script run than the page's own two.
set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
set(hashes "")
foreach(script IN ITEMS "${dygraph}" "${scripts}")
  string(SHA256 hash "${script}")
  set(base64 "")
  foreach(group RANGE 0 60 6)  # three bytes give four digits, and the last two bytes three
    string(SUBSTRING "${hash}00" ${group} 6 bytes)
    foreach(shift IN ITEMS 18 12 6 0)
      math(EXPR digit "(0x${bytes} >> ${shift}) & 63")
      string(SUBSTRING "${digits}" ${digit} 1 digit)
      string(APPEND base64 "${digit}")
    endforeach()
  endforeach()
  string(REGEX REPLACE ".$" "=" base64 "${base64}")
  string(APPEND hashes " 'sha256-${base64}'")
endforeach()
string(REPLACE "@hashes@" "${hashes}" page "${page}")
string(FIND "${page}" "@DATA@" place)
string(SUBSTRING "${page}" 0 ${place} before)
math(EXPR place "${place} + 6")
string(SUBSTRING "${page}" ${place} -1 after)
file(WRITE ${OUTPUT} "#include \"tools/shadingctl/report/Page.h\"

namespace shadingctl {

char const kPageBeforeData[] = R\"page(${before})page\";
char const kPageAfterData[] = R\"page(${after})page\";

}  // namespace shadingctl
")
