# One interface target carries the warnings of our own code; dependencies never see it.
add_library(qmio_warnings INTERFACE)
target_compile_options(qmio_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wdeprecated-declarations
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast>
  $<$<BOOL:${QMIO_WERROR}>:-Werror>)
