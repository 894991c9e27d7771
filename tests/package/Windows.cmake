# Windows looks for a library beside the program.
add_custom_command(TARGET by_cmake POST_BUILD COMMAND_EXPAND_LISTS
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_RUNTIME_DLLS:by_cmake> ${CMAKE_CURRENT_BINARY_DIR})

# As any other compiler's user would: no header, no library of the compiler and another linker.
find_program(linker lld-link REQUIRED)
find_library(import_library vlox_common.lib REQUIRED)
add_library(plain OBJECT plain.cpp)
add_custom_target(by_import_library ALL
  COMMAND ${linker} -nologo -entry:start -subsystem:console -nodefaultlib $<TARGET_OBJECTS:plain> ${import_library}
          -out:by_import_library.exe
  DEPENDS $<TARGET_OBJECTS:plain>)
