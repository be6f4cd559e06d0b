# Installs the Python component of BUILD_DIR into a fresh PREFIX and imports rcc from the
# installed site-packages alone, checking that the module came from there.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX}
                        --component python
                RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed")
endif()
set(ENV{PYTHONPATH} ${PREFIX}/${PACKAGE_DIR})
set(ENV{PYTHONDONTWRITEBYTECODE} 1)
execute_process(
  COMMAND ${PYTHON} -c "import rcc, rcc.core, sys; sys.exit(not rcc.__file__.startswith(sys.argv[1]))"
          ${PREFIX}
  WORKING_DIRECTORY ${PREFIX}
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "rcc does not import from ${PREFIX}/${PACKAGE_DIR}")
endif()
