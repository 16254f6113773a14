# Records every run case of an example: cmake -D PROGRAM=<its program that inspects> -D CASES=<folder of its
# cases> -D SCRATCH=<folder> -D CLOCK=<library> -P check-recordings.cmake
# Output, exit status and files must be those of the model's own program. Left out are explorations, of which
# nothing can be recorded, and the help, which is the program's own.
cmake_minimum_required(VERSION 3.25)
file(GLOB files ${CASES}/*/args)
set(failed FALSE)
set(count 0)
foreach(file ${files})
  file(READ ${file} args)
  if(args MATCHES "--(b|df|h|exp)")
    continue()
  endif()
  math(EXPR count "${count} + 1")
  cmake_path(GET file PARENT_PATH case)
  cmake_path(GET case FILENAME name)
  file(MAKE_DIRECTORY ${SCRATCH})
  execute_process(
    COMMAND ${CMAKE_COMMAND} -D PROGRAM=${PROGRAM} -D CASE=${case} -D SCRATCH=${SCRATCH}/${name} -D CLOCK=${CLOCK}
      -D "OPTIONS=--record ${SCRATCH}/${name}.jsonl" -P ${CMAKE_CURRENT_LIST_DIR}/../run/run-case.cmake
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message("recorded run differs: ${case}")
    set(failed TRUE)
  endif()
endforeach()
message("${count} cases")
if(failed OR count EQUAL 0)
  message(FATAL_ERROR "see above")
endif()
