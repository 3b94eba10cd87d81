# Makes the package of what users run, and unpacks it: -D SOURCE=… -D BUILD=… -D PACKAGE=… -D ROOT=… [-D OPTIONS=…]
function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${SOURCE} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${PACKAGE} ${ROOT})
run(${CMAKE_COMMAND} --preset release -B ${BUILD} ${OPTIONS})
run(${CMAKE_COMMAND} --build ${BUILD} --target package)
run(dpkg-deb --extract ${PACKAGE} ${ROOT})
