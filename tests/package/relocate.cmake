# Installs the build, moves the tree, and builds and runs a user of it from there, found by CMake and by
# pkg-config. Arguments: BUILD (the build folder), WORK (a folder to use up), SOURCE (this folder), GENERATOR.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE failed OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
file(RENAME ${WORK}/installed ${WORK}/moved)
file(GLOB_RECURSE pc_file ${WORK}/moved/vlox_common.pc)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/user -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${WORK}/moved)
run(${CMAKE_COMMAND} --build ${WORK}/user)
run(${WORK}/user/by_cmake)
run(${WORK}/user/by_pkg_config)
