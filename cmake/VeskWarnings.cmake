# vesk_warnings: linked by every target of this project and by nothing else, never installed.
add_library(vesk_warnings INTERFACE)
target_compile_options(vesk_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor
  -Werror -Werror=format-security)
