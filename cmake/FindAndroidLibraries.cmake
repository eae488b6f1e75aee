# The platform's own log, native handles and reference counts as Debian packages them, in a folder that
# neither the compiler nor the loader looks into by itself. Defines lx2::android; what links it, itself
# or through another library, finds the folder when it runs too.
#   AndroidLibraries_INCLUDE_DIR, AndroidLibraries_LIBRARY_DIR  where they are on the machine that runs
include(FindPackageHandleStandardArgs)

find_path(AndroidLibraries_INCLUDE_DIR utils/RefBase.h PATH_SUFFIXES android)
set(_libraries "")
foreach(_name IN ITEMS utils cutils log)
  find_library(AndroidLibraries_${_name} ${_name} PATH_SUFFIXES android)
  list(APPEND _libraries ${AndroidLibraries_${_name}})
endforeach()
mark_as_advanced(AndroidLibraries_INCLUDE_DIR
  AndroidLibraries_utils AndroidLibraries_cutils AndroidLibraries_log)
find_package_handle_standard_args(AndroidLibraries
  REQUIRED_VARS AndroidLibraries_log AndroidLibraries_cutils AndroidLibraries_utils AndroidLibraries_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "Debian's android-liblog-dev, android-libcutils-dev and android-libutils-dev have them.")

if(AndroidLibraries_FOUND AND NOT TARGET lx2::android)
  cmake_path(GET AndroidLibraries_log PARENT_PATH _build_dir)
  set(AndroidLibraries_LIBRARY_DIR ${_build_dir})
  if(CMAKE_SYSROOT)
    string(REPLACE "${CMAKE_SYSROOT}" "" AndroidLibraries_LIBRARY_DIR "${_build_dir}")
  endif()
  add_library(lx2::android INTERFACE IMPORTED GLOBAL)
  target_include_directories(lx2::android INTERFACE ${AndroidLibraries_INCLUDE_DIR})
  target_link_libraries(lx2::android INTERFACE ${_libraries})
  target_link_options(lx2::android INTERFACE
    -Wl,-rpath,${AndroidLibraries_LIBRARY_DIR} -Wl,-rpath-link,${_build_dir})
endif()
