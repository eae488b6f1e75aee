# The device's own interfaces, from the toolchain: headers on its include path, libraries by name.
add_library(lx2_host INTERFACE)
target_link_libraries(lx2_host INTERFACE
  log cutils codec2 codec2_vndk hidlbase utils android.hardware.graphics.mapper@3.0)
install(TARGETS lx2_host EXPORT lxcodec2_utils)
add_library(lx2::host ALIAS lx2_host)
