# What the package for Windows holds beside the library's own files, so that it is all that a user needs: the parts of
# other libraries that the public headers name, the licences of everything inside, and a text for its reader.
# vlox_prefix_of(<variable> <header>): where the library with this header lies.
function(vlox_prefix_of variable header)
  find_path(folder ${header} REQUIRED NO_CACHE)
  get_filename_component(prefix ${folder} DIRECTORY)
  set(${variable} ${prefix} PARENT_SCOPE)
endfunction()
vlox_prefix_of(poco Poco/Poco.h)
vlox_prefix_of(curl curl/curl.h)
vlox_prefix_of(rapidjson rapidjson/rapidjson.h)

install(DIRECTORY ${poco}/include/Poco DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} PATTERN Net EXCLUDE)
install(FILES ${poco}/lib/libPocoFoundation.a DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${curl}/include/curl ${rapidjson}/include/rapidjson DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${poco}/cmake ${rapidjson}/cmake DESTINATION . PATTERN PocoNet* EXCLUDE)

# Each dependency lies with its licence in a folder <name>-<key>; the run-time libraries of the compiler and the root
# certificates come from packages of this machine.
foreach(dependency IN LISTS CMAKE_FIND_ROOT_PATH)
  get_filename_component(name ${dependency} NAME)
  string(REGEX REPLACE "-[^-]*$" "" name ${name})
  if(NOT name STREQUAL "googletest")
    install(FILES ${dependency}/copyright DESTINATION licences RENAME ${name}.txt)
  endif()
endforeach()
foreach(package IN ITEMS gcc-mingw-w64-base mingw-w64-x86-64-dev ca-certificates)
  install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt)
endforeach()

configure_file(cmake/windows-package.md.in README.md @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.md DESTINATION .)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win64)
set(CPACK_STRIP_FILES ON)
include(CPack)
