# Installs a build and moves the result: cmake -D BUILD=<folder> -D SCRATCH=<folder> -P make-tree.cmake
# The tree is <scratch>/moved; everything else in the scratch folder is removed.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${SCRATCH})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${SCRATCH}/tree
  COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${SCRATCH}/tree ${SCRATCH}/moved)
