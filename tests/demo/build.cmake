# Installs the build and builds the example against that, as the user of a release would.
# Arguments: BUILD (the build folder), WORK (a folder that is kept for the next time), SOURCE (the example),
# GENERATOR, FLAGS (of the compiler; a sanitized library needs sanitized users), TOOLCHAIN (for another system).
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
if(TOOLCHAIN)
  set(place -D CMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -D CMAKE_FIND_ROOT_PATH=${WORK}/installed)
else()
  set(place -D CMAKE_PREFIX_PATH=${WORK}/installed)
endif()
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/examples -G ${GENERATOR} ${place}
  -D CMAKE_BUILD_TYPE=RelWithDebInfo -D CMAKE_CXX_FLAGS=${FLAGS} -D VLOX_WARNINGS_AS_ERRORS=ON)
run(${CMAKE_COMMAND} --build ${WORK}/examples)
