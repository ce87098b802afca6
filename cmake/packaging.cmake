# The Debian package: `cpack -G DEB` in a build folder packs everything that
# `cmake --install` installs (library, zuno stand-in, headers, CMake and
# pkg-config files, the krel tool with its man page and completion, and the
# Python module) into one generic-lib_<version>_<arch>.deb, installed under
# /usr. Library dependencies come from dpkg-shlibdeps.
set(GENERIC_LIB_PACKAGE_MAINTAINER "generic_lib maintainers <maintainers@users.noreply.c-seed-18976a3a.example>"
    CACHE STRING "Maintainer field of the Debian package")

set(CPACK_PACKAGE_NAME generic-lib)
set(CPACK_PACKAGE_VENDOR "generic_lib maintainers")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "The shared library libgeneric_lib (host lists and host sets, strings, text
layout for terminals, file system, logging and parameters) with its headers,
CMake package and pkg-config files, the krel command-line tool with its man
page and bash completion, and the Python 3 module krel.")
set(CPACK_PACKAGE_CONTACT "${GENERIC_LIB_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${GENERIC_LIB_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Our own libraries are in the package: dpkg-shlibdeps finds them there and
# the package declares them (shlibs file, ldconfig trigger).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "man-db, bash-completion")
if(GENERIC_LIB_BUILD_PYTHON)
  # The compiled module is for one Python version. It links no libpython, so
  # dpkg-shlibdeps cannot see that; the library and the tool do not need it.
  math(EXPR krel_python_next_minor "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
      "python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}~), python3 (<< ${Python_VERSION_MAJOR}.${krel_python_next_minor})")
endif()

include(CPack)
