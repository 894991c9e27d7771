# vlox_common.dll holds all that it stands on: its users need no library but POCO's Foundation, for what its headers
# have of it, and of libcurl and RapidJSON the headers only.
set_target_properties(vlox_common PROPERTIES PREFIX "")
target_link_libraries(vlox_common PRIVATE CURL::libcurl)
get_target_property(vlox_curl_headers CURL::libcurl INTERFACE_INCLUDE_DIRECTORIES)
target_include_directories(vlox_common SYSTEM INTERFACE
  $<BUILD_INTERFACE:${vlox_curl_headers}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# An import library in the form of other linkers, with the plain names: no other family of compilers calls the
# decorated ones.
find_program(VLOX_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
set(vlox_definitions ${CMAKE_CURRENT_BINARY_DIR}/vlox_common.def)
set(vlox_import_library ${CMAKE_CURRENT_BINARY_DIR}/vlox_common.lib)
target_link_options(vlox_common PRIVATE LINKER:--output-def=${vlox_definitions}.all)
add_custom_command(TARGET vlox_common POST_BUILD
  COMMAND sed "/^ *_Z/d; s/ @[0-9]*//" ${vlox_definitions}.all > ${vlox_definitions}
  COMMAND ${VLOX_DLLTOOL} -m i386:x86-64 -D $<TARGET_FILE_NAME:vlox_common> -d ${vlox_definitions}
          -l ${vlox_import_library}
  BYPRODUCTS ${vlox_definitions} ${vlox_import_library} VERBATIM)
install(FILES ${vlox_import_library} ${vlox_definitions} DESTINATION ${CMAKE_INSTALL_LIBDIR})
