# vesk_warnings: linked by every target of this project and by nothing else, never installed. The
# presets for work on the engine make every warning an error (CMAKE_COMPILE_WARNING_AS_ERROR).
add_library(vesk_warnings INTERFACE)
target_compile_options(vesk_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor
  -Werror=format-security)
