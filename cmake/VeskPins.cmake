# Plugins by which the tools of LTSmin explore a model. They are built with the headers of the LTSmin that
# is installed; without it there are none, and nothing else needs them.
set(VESK_LTSMIN "" CACHE PATH "Where LTSmin is installed, for models with PINS; or the environment variable of this name")

# In an installation the sources stand beside this file, in the repository where they belong.
set(VESK_PINS_FOLDER ${CMAKE_CURRENT_LIST_DIR}/pins)
set(VESK_PINS_ENGINE_FOLDER ${VESK_PINS_FOLDER})
if(NOT EXISTS ${VESK_PINS_FOLDER})
  cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH root)
  set(VESK_PINS_FOLDER ${root}/tools/pins)
  set(VESK_PINS_ENGINE_FOLDER ${root}/Engines/singleThread/platform)
endif()
set(VESK_PINS_FILES
  arguments.cpp arguments.hpp bridge.cpp bridge.hpp entry.cpp exports.map fault.hpp local-system.cpp
  local-system.hpp ltsmin-interface.hpp slot-texts.cpp slot-texts.hpp system.cpp system.hpp
  whole-system.cpp whole-system.hpp)
# What the plugins need of the engine's own classes, which the library does not export.
set(VESK_PINS_ENGINE_FILES
  exploration/flags.hpp exploration/labels.cpp exploration/labels.hpp exploration/outcomes.cpp
  exploration/outcomes.hpp exploration/system-parts.cpp exploration/system-parts.hpp
  exploration/tree-walk.hpp exploration/untimed-priorities.cpp exploration/untimed-priorities.hpp
  chain.hpp immortal.hpp markers.hpp work-stack.hpp)

# vesk_add_pins_bridge(<target> <folder of headers>): what the plugins of all models have in common.
function(vesk_add_pins_bridge target headers)
  set(sources ${VESK_PINS_FILES})
  list(FILTER sources INCLUDE REGEX "[.]cpp$")
  list(REMOVE_ITEM sources entry.cpp)
  list(TRANSFORM sources PREPEND ${VESK_PINS_FOLDER}/)
  set(engine_sources ${VESK_PINS_ENGINE_FILES})
  list(FILTER engine_sources INCLUDE REGEX "[.]cpp$")
  list(TRANSFORM engine_sources PREPEND ${VESK_PINS_ENGINE_FOLDER}/)
  add_library(${target} STATIC EXCLUDE_FROM_ALL ${sources} ${engine_sources})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${target} PUBLIC ${VESK_PINS_FOLDER} ${VESK_PINS_ENGINE_FOLDER})
  target_include_directories(${target} SYSTEM PUBLIC ${headers})
  target_link_libraries(${target} PUBLIC vesk::vesk)
endfunction()

# vesk_add_pins_plugin(<target> <model> <bridge> <source>...): a plugin with the sources of a model, which
# are compiled once more, like those of the target <model>.
function(vesk_add_pins_plugin target model bridge)
  add_library(${target} MODULE ${ARGN} ${VESK_PINS_FOLDER}/entry.cpp)
  set_target_properties(${target} PROPERTIES PREFIX "")
  target_compile_definitions(${target} PRIVATE
    VESK_PINS_MODEL="${model}" $<TARGET_PROPERTY:${model},COMPILE_DEFINITIONS>)
  target_compile_options(${target} PRIVATE $<TARGET_PROPERTY:${model},COMPILE_OPTIONS>)
  target_include_directories(${target} PRIVATE $<TARGET_PROPERTY:${model},INCLUDE_DIRECTORIES>)
  target_link_libraries(${target} PRIVATE ${bridge} $<TARGET_PROPERTY:${model},LINK_LIBRARIES>)
  set(exports ${VESK_PINS_FOLDER}/exports.map)
  target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
endfunction()

# vesk_add_pins(<model> <source>...): <model>-pins.so, when there is an LTSmin.
function(vesk_add_pins model)
  find_path(VESK_LTSMIN_INCLUDE ltsmin/pins.h HINTS ${VESK_LTSMIN}/include $ENV{VESK_LTSMIN}/include)
  if(NOT VESK_LTSMIN_INCLUDE)
    message(STATUS "Skipping ${model}-pins: ltsmin/pins.h was not found (VESK_LTSMIN: where LTSmin is installed)")
    return()
  endif()
  if(NOT TARGET vesk_pins)
    vesk_add_pins_bridge(vesk_pins ${VESK_LTSMIN_INCLUDE})
  endif()
  vesk_add_pins_plugin(${model}-pins ${model} vesk_pins ${ARGN})
endfunction()
