# The package: find_package(lxcodec2_utils) and pkg-config.
include(CMakePackageConfigHelpers)
