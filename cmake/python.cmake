# The Python module `krel` (python/), built with pybind11 for the system
# Python 3. On by default; when pybind11 or the Python development files are
# missing it is left out with a message, and the rest of the project builds.
option(GENERIC_LIB_BUILD_PYTHON "Build the Python module krel (needs pybind11-dev and python3-dev)"
       ON)

# A module built with a sanitizer needs its runtime loaded before the
# interpreter starts, which the stock python3 does not do.
if(GENERIC_LIB_BUILD_PYTHON AND CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
  message(STATUS "Python module krel: off in sanitizer builds (python3 cannot load them)")
  set(GENERIC_LIB_BUILD_PYTHON OFF)
endif()

if(GENERIC_LIB_BUILD_PYTHON)
  # The system interpreter, whose packages (pytest, ClusterShell) the tests
  # use, rather than whichever python3 comes first on PATH.
  if(NOT DEFINED Python_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "Python interpreter the module is built for")
  endif()
  find_package(Python 3.7 COMPONENTS Interpreter Development.Module)
  if(Python_FOUND)
    find_package(pybind11 2.6 CONFIG QUIET)
  endif()
  if(NOT Python_FOUND)
    message(STATUS "Python module krel: off, the Python 3 development files were not found "
                   "(Debian: apt install python3-dev)")
    set(GENERIC_LIB_BUILD_PYTHON OFF)
  elseif(NOT pybind11_FOUND)
    message(STATUS "Python module krel: off, pybind11 was not found "
                   "(Debian: apt install pybind11-dev)")
    set(GENERIC_LIB_BUILD_PYTHON OFF)
  else()
    message(STATUS "Python module krel: on, for ${Python_EXECUTABLE} ${Python_VERSION}")
    add_subdirectory(python)
  endif()
endif()
