# What every target of this tree is compiled with: the language, the warnings and, where asked for, sanitizers.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(vlox_options INTERFACE)
target_compile_options(vlox_options INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion>
  $<$<AND:$<BOOL:${VLOX_WARNINGS_AS_ERRORS}>,$<CXX_COMPILER_ID:GNU,Clang>>:-Werror>)

if(VLOX_BUILD_FUZZ AND NOT VLOX_SANITIZE)
  set(VLOX_SANITIZE address,undefined,fuzzer-no-link)
  add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_SOURCE_DIR}/tests/fuzz/ignored.txt)
endif()
if(VLOX_SANITIZE)
  add_compile_options(-fsanitize=${VLOX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VLOX_SANITIZE})
endif()
