# The libraries that are opened by name lie here in the build tree, under the same name in the package.
set(LX2_DEVICE_LIB_DIR ${CMAKE_BINARY_DIR}/lib/lx2device)

# Lets a library find those that it opens by name, in the build tree and once installed.
function(lx2_finds_device_libraries target)
  set_target_properties(${target} PROPERTIES
    BUILD_RPATH "${LX2_DEVICE_LIB_DIR}"
    INSTALL_RPATH "$ORIGIN;$ORIGIN/lx2device")
  target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
endfunction()

# lx2_test_properties(<variable> [<name=value>...])
# Sets the variable to the properties of a test that runs with these in its environment. A sanitizer's dlopen searches as if the sanitizer itself had called, not
# along the RUNPATH of the library that calls it, so the folder is named after those given.
function(lx2_test_properties out)
  set(properties TIMEOUT 600 SKIP_RETURN_CODE 77)
  if(ARGN)
    list(APPEND properties ENVIRONMENT "${ARGN}")
  endif()
  if(LX2_SANITIZE)
    list(APPEND properties ENVIRONMENT_MODIFICATION LD_LIBRARY_PATH=path_list_append:${LX2_DEVICE_LIB_DIR})
  endif()
  set(${out} "${properties}" PARENT_SCOPE)
endfunction()
