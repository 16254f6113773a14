# Runs one case: cmake -D PROGRAM=<executable> -D CASE=<folder> -D SCRATCH=<folder> -P run-case.cmake
# A case with a scripted clock needs -D CLOCK=<library to preload>, too. With -D OPTIONS=<words> these stand in
# front of the arguments.
# The layout of a case folder is described in README.md beside this file.
cmake_minimum_required(VERSION 3.25)

# 1. A fresh scratch folder: `work` is where the program runs, `expected` what `work` must become.
file(REMOVE_RECURSE ${SCRATCH})
file(MAKE_DIRECTORY ${SCRATCH}/work ${SCRATCH}/expected)
# Without its clock a run would go by the real one. The folder is empty by now, so that no outcome of an
# earlier run is taken for one of this.
if(NOT EXISTS ${PROGRAM})
  message(FATAL_ERROR "not built: ${PROGRAM}")
endif()
if(EXISTS ${CASE}/clock AND NOT EXISTS "${CLOCK}")
  message(FATAL_ERROR "not built: ${CLOCK} (target scripted-clock)")
endif()
# Not by file(COPY), which leaves a file out that has the time of the one it would replace.
function(copy from to)
  if(EXISTS ${CASE}/${from})
    execute_process(COMMAND cp -RP ${CASE}/${from}/. ${SCRATCH}/${to} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endfunction()
copy(input work)
copy(input expected)
copy(files expected)

set(stdin /dev/null)
set(expected_stdout /dev/null)
set(expected_stderr /dev/null)
set(expected_status 0)
if(EXISTS ${CASE}/stdin)
  set(stdin ${CASE}/stdin)
endif()
foreach(stream stdout stderr)
  if(EXISTS ${CASE}/${stream})
    set(expected_${stream} ${CASE}/${stream})
  endif()
endforeach()
if(EXISTS ${CASE}/status)
  file(STRINGS ${CASE}/status expected_status)
endif()

# 2. The environment. The program is found through PATH, so its messages carry its bare name.
cmake_path(GET PROGRAM PARENT_PATH folder)
cmake_path(GET PROGRAM FILENAME name)
set(ENV{PATH} "${folder}:$ENV{PATH}")
set(ENV{LC_ALL} C)
if(EXISTS ${CASE}/env)
  file(STRINGS ${CASE}/env lines)
  foreach(line ${lines})
    string(REGEX MATCH "^([^=]+)=(.*)$" line "${line}")
    set(ENV{${CMAKE_MATCH_1}} "${CMAKE_MATCH_2}")
  endforeach()
endif()

# 3. The run. The clock is preloaded into the program alone, through env.
file(READ ${CASE}/args args)
string(STRIP "${args}" args)
set(clock "")
if(EXISTS ${CASE}/clock)
  file(READ ${CASE}/clock readings)
  set(ENV{VESK_SCRIPTED_CLOCK} "${readings}")
  set(ENV{ASAN_OPTIONS} "verify_asan_link_order=0:$ENV{ASAN_OPTIONS}")
  set(clock "env LD_PRELOAD=${CLOCK}")
endif()
execute_process(
  COMMAND sh -c "exec ${clock} ${name} ${OPTIONS} ${args}"
  WORKING_DIRECTORY ${SCRATCH}/work
  INPUT_FILE ${stdin}
  OUTPUT_FILE ${SCRATCH}/stdout
  ERROR_FILE ${SCRATCH}/stderr
  RESULT_VARIABLE status)
file(WRITE ${SCRATCH}/status "${status}\n")

# 4. The comparison: every difference is shown before the case fails.
set(failed FALSE)
function(compare expected actual)
  execute_process(COMMAND diff -a -u -r ${expected} ${actual} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    set(failed TRUE PARENT_SCOPE)
  endif()
endfunction()

compare(${expected_stdout} ${SCRATCH}/stdout)
compare(${expected_stderr} ${SCRATCH}/stderr)
if(NOT EXISTS ${CASE}/ignore-files)
  compare(${SCRATCH}/expected ${SCRATCH}/work)
endif()
if(NOT status STREQUAL expected_status)
  message("exit status: expected ${expected_status}, got ${status}")
  set(failed TRUE)
endif()
if(failed)
  message(FATAL_ERROR "in ${SCRATCH}/work: ${name} ${args}")
endif()
