# How the subsystems are put together.
#
# A subsystem is compiled by itself, against nothing but what it may know: its own folder, the base
# headers, the platform's headers if it uses them, and of the public headers only those of its own
# family and of the subsystems named in USES. The last are shown to it through a folder of links, so an
# include against the direction of the architecture does not compile.

# lx2_subsystem(<name> SOURCES <file>... HEADERS <public header>... [USES <subsystem>...] [PRIVATE_OF <subsystem>...])
function(lx2_subsystem name)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;USES;PRIVATE_OF" ${ARGN})
  set_property(GLOBAL PROPERTY lx2_headers_of_${name} ${ARG_HEADERS})
  set_property(GLOBAL PROPERTY lx2_uses_of_${name} ${ARG_USES})
  set_property(GLOBAL APPEND PROPERTY lx2_public_headers ${ARG_HEADERS})

  set(view ${CMAKE_BINARY_DIR}/views/${name})
  file(REMOVE_RECURSE ${view})
  file(MAKE_DIRECTORY ${view}/lx2)
  _lx2_visible(${name} seen)
  foreach(subsystem IN LISTS seen)
    get_property(headers GLOBAL PROPERTY lx2_headers_of_${subsystem})
    foreach(header IN LISTS headers)
      file(CREATE_LINK ${PROJECT_SOURCE_DIR}/include/lx2/${header} ${view}/lx2/${header} SYMBOLIC)
    endforeach()
  endforeach()

  if(ARG_SOURCES)
    add_library(lx2_utils_${name} OBJECT ${ARG_SOURCES})
    target_include_directories(lx2_utils_${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${view})
    foreach(other IN LISTS ARG_PRIVATE_OF)
      target_include_directories(lx2_utils_${name} PRIVATE ${PROJECT_SOURCE_DIR}/${other})
    endforeach()
    target_link_libraries(lx2_utils_${name} PRIVATE lx2_platform)
    # As bare as the device's headers are.
    target_compile_definitions(lx2_utils_${name} PRIVATE LX2_HOST_BARE_C2_HEADERS)
    # A unique symbol would keep the library loaded after its last dlclose.
    target_compile_options(lx2_utils_${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
    set_property(GLOBAL APPEND PROPERTY lx2_subsystems lx2_utils_${name})
  endif()
endfunction()

# A subsystem sees itself, what it uses, and what those use.
function(_lx2_visible name out)
  set(seen ${name})
  get_property(uses GLOBAL PROPERTY lx2_uses_of_${name})
  foreach(other IN LISTS uses)
    _lx2_visible(${other} further)
    list(APPEND seen ${further})
  endforeach()
  list(REMOVE_DUPLICATES seen)
  set(${out} ${seen} PARENT_SCOPE)
endfunction()

# The shared library of all subsystems, and for the tests of private workers the same objects as a
# static one.
function(lx2_utils_library)
  get_property(subsystems GLOBAL PROPERTY lx2_subsystems)
  foreach(kind IN ITEMS SHARED STATIC)
    set(target lx2_utils)
    if(kind STREQUAL STATIC)
      set(target lx2_utils_static)
    endif()
    add_library(${target} ${kind})
    foreach(subsystem IN LISTS subsystems)
      target_sources(${target} PRIVATE $<TARGET_OBJECTS:${subsystem}>)
    endforeach()
    target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${target} PUBLIC lx2_platform PRIVATE ${CMAKE_DL_LIBS})
  endforeach()
  set_target_properties(lx2_utils PROPERTIES OUTPUT_NAME lxcodec2_utils EXPORT_NAME utils)
  set_target_properties(lx2_utils_static PROPERTIES EXCLUDE_FROM_ALL ON)
  target_link_options(lx2_utils PRIVATE -Wl,--as-needed
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/lxcodec2_utils.map)
  set_target_properties(lx2_utils PROPERTIES LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/lxcodec2_utils.map)
  # Clang has a sanitizer's runtime in the program alone.
  if(NOT (LX2_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang"))
    target_link_options(lx2_utils PRIVATE -Wl,--no-undefined)
  endif()
  target_link_options(lx2_utils_static INTERFACE -Wl,-rpath,${LX2_DEVICE_LIB_DIR})
  lx2_finds_device_libraries(lx2_utils)
  add_library(lx2::utils ALIAS lx2_utils)
endfunction()

# Lets a library find those that it opens by name, in the build tree and once installed.
function(lx2_finds_device_libraries target)
  set_target_properties(${target} PROPERTIES
    BUILD_RPATH "${LX2_DEVICE_LIB_DIR}"
    INSTALL_RPATH "$ORIGIN;$ORIGIN/lx2device")
  target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
endfunction()
