# How the libraries name their version, and what cmake --install puts where.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
if(WIN32)
  enable_language(RC)
  find_program(QOR_DLLTOOL NAMES llvm-dlltool x86_64-w64-mingw32-dlltool dlltool REQUIRED)
endif()

# A Windows library says its version in a resource. It gets a second import library from its export script, for
# linkers of the MSVC kind.
function(qor_windows_library target description)
  set(QOR_FILE_NAME ${target}.dll)
  set(QOR_DESCRIPTION ${description})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${target}_version.rc @ONLY)
  add_library(${target}_version OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_version>)

  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}_exports.def)
  set(import_library ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${target}.lib)
  add_custom_command(OUTPUT ${import_library} DEPENDS ${script} ${target}_exports
    COMMAND ${QOR_DLLTOOL} -m i386:x86-64 -D ${target}.dll -d ${script} -l ${import_library} VERBATIM)
  add_custom_target(${target}_import_library ALL DEPENDS ${import_library})
  if(QOR_INSTALL)
    install(FILES ${import_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
endfunction()

# The product finds its core library beside itself, unless the loader is told of another directory. The core
# library has no version in its name: by that name another one takes its place.
if(WIN32)
  qor_windows_library(qor_fyn_def "Numerical kernels: vector math, statistics, data fitting")
  qor_windows_library(qor_core "Core services of the numerical libraries")
else()
  set_target_properties(qor_fyn_def PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH $ORIGIN)
  target_link_options(qor_fyn_def PRIVATE -Wl,--enable-new-dtags)
endif()

if(QOR_INSTALL)
  set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/qor_fyn_def)
  install(TARGETS qor_fyn_def qor_core EXPORT qor_fyn_defTargets INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(DIRECTORY include/ ${generated}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

  install(EXPORT qor_fyn_defTargets NAMESPACE qor_fyn_def:: DESTINATION ${package_directory})
  write_basic_package_version_file(qor_fyn_defConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES cmake/qor_fyn_defConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/qor_fyn_defConfigVersion.cmake
          DESTINATION ${package_directory})

  # The file stands in LIBDIR/pkgconfig and finds the rest from there.
  file(RELATIVE_PATH QOR_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" QOR_PREFIX_FROM_PC "${QOR_PREFIX_FROM_PC}")
  configure_file(cmake/qor_fyn_def.pc.in qor_fyn_def.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qor_fyn_def.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()
