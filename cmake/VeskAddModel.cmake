# vesk_add_model(<name> SOURCES <source>... [NO_INSPECT] [PINS])
#
# Adds the executable <name> of one model. The sources define Compound::Create and no main: the
# executable starts in the main of the engine's library.
#
# Adds also the executable <name>-inspect, which shows the model, records its runs and looks for
# mistakes. It consists of the same objects, so nothing is compiled twice, and is linked with what
# <name> is linked with. NO_INSPECT leaves it out, and so does a vesk without vesk::inspect.
#
# With PINS also the plugin <name>-pins.so for LTSmin, where that is installed.
include(${CMAKE_CURRENT_LIST_DIR}/VeskPins.cmake)

function(vesk_add_model name)
  cmake_parse_arguments(PARSE_ARGV 1 model "NO_INSPECT;PINS" "" "SOURCES")
  if(NOT model_SOURCES OR model_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "usage: vesk_add_model(<name> SOURCES <source>... [NO_INSPECT] [PINS])")
  endif()
  add_executable(${name} ${model_SOURCES})
  target_link_libraries(${name} PRIVATE vesk::vesk)
  if(model_PINS)
    vesk_add_pins(${name} ${model_SOURCES})
  endif()
  if(model_NO_INSPECT OR NOT TARGET vesk::inspect)
    return()
  endif()

  # vesk::inspect stands in front, because its main must win over the one of the engine's library.
  add_executable(${name}-inspect $<TARGET_OBJECTS:${name}>)
  set_target_properties(${name}-inspect PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(${name}-inspect PRIVATE
    vesk::inspect $<TARGET_PROPERTY:${name},LINK_LIBRARIES>)
  target_link_options(${name}-inspect PRIVATE $<TARGET_PROPERTY:${name},LINK_OPTIONS>)
endfunction()
