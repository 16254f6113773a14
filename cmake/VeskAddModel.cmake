# vesk_add_model(<name> SOURCES <source>...)
#
# Adds the executable <name> of one model. The sources define Compound::Create and no main: the
# executable starts in the main of the engine's library.
function(vesk_add_model name)
  cmake_parse_arguments(PARSE_ARGV 1 model "" "" "SOURCES")
  if(NOT model_SOURCES OR model_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: vesk_add_model(<name> SOURCES <source>...)")
  endif()
  add_executable(${name} ${model_SOURCES})
  target_link_libraries(${name} PRIVATE vesk::vesk)
endfunction()
