# cmake -D FOLDER=<folder of the parts> -D OUTPUT=<source to write> -P embed.cmake
# Puts the style and the script into the page, with the hashes by which the browser knows them, and the
# page into a C++ source. A string literal may be 64 KiB long, so there are several.
cmake_minimum_required(VERSION 3.25)
file(READ ${FOLDER}/page.html page)
file(READ ${FOLDER}/page.css style)
file(READ ${FOLDER}/page.js script)

function(hash_of text variable)
  string(SHA256 hash "${text}")
  string(TOUPPER ${hash} hash)
  file(WRITE ${OUTPUT}.hash ${hash})
  execute_process(COMMAND basenc --base16 -d ${OUTPUT}.hash COMMAND base64
    OUTPUT_VARIABLE hash OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${OUTPUT}.hash)
  set(${variable} ${hash} PARENT_SCOPE)
endfunction()
hash_of("${style}" style_hash)
hash_of("${script}" script_hash)

string(REPLACE "@STYLE_HASH@" "${style_hash}" page "${page}")
string(REPLACE "@SCRIPT_HASH@" "${script_hash}" page "${page}")
string(REPLACE "@STYLE@" "${style}" page "${page}")
string(REPLACE "@SCRIPT@" "${script}" page "${page}")

string(LENGTH "${page}" length)
set(literals "")
set(at 0)
while(at LESS length)
  string(SUBSTRING "${page}" ${at} 8000 piece)
  string(APPEND literals "R\"VESK(${piece})VESK\"\n")
  math(EXPR at "${at} + 8000")
endwhile()
file(WRITE ${OUTPUT}
  "#include \"page-parts.hpp\"\n\nnamespace Vesk::Lts {\n\n"
  "const std::string_view PAGE_TEMPLATE =\n${literals};\n\n}  // namespace Vesk::Lts\n")
