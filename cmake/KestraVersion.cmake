# Version and notice are compiled in; they take the place of a file version resource.
set(KESTRA_PRODUCT_VERSION "${PROJECT_VERSION}")
# Two blanks before "All rights reserved": the about box cuts them with the words.
set(KESTRA_LEGAL_COPYRIGHT "Copyright (c) 2026 Corvane.  All rights reserved.")
configure_file(${CMAKE_SOURCE_DIR}/src/support/Version.h.in
               ${CMAKE_BINARY_DIR}/generated/kestra/Version.h @ONLY)
