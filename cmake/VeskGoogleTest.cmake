# GTest::gtest: the installed package, or built from Debian's sources where the package does not
# fit (32-bit) or is missing.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  find_package(GTest QUIET)
endif()

if(NOT TARGET GTest::gtest)
  set(GOOGLETEST_SOURCE_DIR /usr/src/googletest/googletest CACHE PATH "Sources of GoogleTest")
  if(NOT EXISTS ${GOOGLETEST_SOURCE_DIR}/src/gtest-all.cc)
    message(FATAL_ERROR "GoogleTest is not installed: apt-get install googletest libgtest-dev")
  endif()
  find_package(Threads REQUIRED)
  add_library(vesk_gtest STATIC EXCLUDE_FROM_ALL ${GOOGLETEST_SOURCE_DIR}/src/gtest-all.cc)
  add_library(GTest::gtest ALIAS vesk_gtest)
  target_include_directories(vesk_gtest PRIVATE ${GOOGLETEST_SOURCE_DIR})
  target_include_directories(vesk_gtest SYSTEM PUBLIC ${GOOGLETEST_SOURCE_DIR}/include)
  target_link_libraries(vesk_gtest PUBLIC Threads::Threads)
  set_target_properties(vesk_gtest PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
endif()
