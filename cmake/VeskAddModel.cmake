# vesk_add_model(<name> SOURCES <source>... [PINS])
#
# Adds the executable <name> of one model. The sources define Compound::Create and no main: the
# executable starts in the main of the engine's library. With PINS also the plugin <name>-pins.so for
# LTSmin, where that is installed.
include(${CMAKE_CURRENT_LIST_DIR}/VeskPins.cmake)

function(vesk_add_model name)
  cmake_parse_arguments(PARSE_ARGV 1 model "PINS" "" "SOURCES")
  if(NOT model_SOURCES OR model_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: vesk_add_model(<name> SOURCES <source>... [PINS])")
  endif()
  add_executable(${name} ${model_SOURCES})
  target_link_libraries(${name} PRIVATE vesk::vesk)
  if(model_PINS)
    vesk_add_pins(${name} ${model_SOURCES})
  endif()
endfunction()
