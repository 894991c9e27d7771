# The public root certificates that are built in, as C++ text: one literal per certificate, which compiles in no time
# and stays below the limit that compilers have for a literal.
find_file(VLOX_ROOT_BUNDLE ca-certificates.crt PATHS /etc/ssl/certs NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
  DOC "PEM file with the root certificates to build in; by default that of the system's ca-certificates")

# vlox_root_bundle(<variable>): the literals, each behind a comma but the first. A file that isn't whole is refused: a
# certificate that gets lost here would show as a failed handshake on a customer's machine.
function(vlox_root_bundle variable)
  if(NOT VLOX_ROOT_BUNDLE OR NOT EXISTS "${VLOX_ROOT_BUNDLE}")
    message(FATAL_ERROR "There is no root bundle: '${VLOX_ROOT_BUNDLE}'. Install ca-certificates, or name a PEM file "
      "with -D VLOX_ROOT_BUNDLE=<file>.")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${VLOX_ROOT_BUNDLE}")
  file(READ "${VLOX_ROOT_BUNDLE}" bundle)
  string(REPLACE "\r" "" bundle "${bundle}\n")
  set(begin "-----BEGIN CERTIFICATE-----\n")
  set(end "-----END CERTIFICATE-----\n")
  string(REGEX MATCHALL "${begin}" announced "${bundle}")
  string(REGEX MATCHALL "${begin}[A-Za-z0-9+/=\n]+${end}" certificates "${bundle}")
  list(LENGTH announced expected)
  list(LENGTH certificates found)
  if(found EQUAL 0 OR NOT found EQUAL expected)
    message(FATAL_ERROR "VLOX_ROOT_BUNDLE is no bundle of PEM certificates: ${expected} begin and ${found} are whole in "
      "'${VLOX_ROOT_BUNDLE}'")
  endif()
  list(JOIN certificates ")\",\n    R\"(" literals)
  set(${variable} "R\"(${literals})\"" PARENT_SCOPE)
  message(STATUS "Root certificates: ${found} of ${VLOX_ROOT_BUNDLE}")
endfunction()
