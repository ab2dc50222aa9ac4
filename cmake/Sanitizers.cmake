# QMIO_SANITIZE applies to everything we build, hosts and tests included.
if(QMIO_SANITIZE)
  add_compile_options(-fsanitize=${QMIO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  # GCC 12 takes the standard library's own regular expressions for uninitialised once they are instrumented.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${QMIO_SANITIZE})
endif()
