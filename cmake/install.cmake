# What `cmake --install` copies: the library with its headers, as find_package and pkg-config find it, `study` if it is
# built, with its manual pages and completions, and the documents.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(sarvane PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_compile_features(sarvane PUBLIC cxx_std_20)

install(TARGETS sarvane EXPORT sarvane INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(SARVANE_HOST)
  install(TARGETS sarvane_study EXPORT sarvane INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(TARGETS study)
  if(NOT CMAKE_CROSSCOMPILING OR CMAKE_CROSSCOMPILING_EMULATOR)
    install(DIRECTORY ${CMAKE_BINARY_DIR}/host/share/ DESTINATION ${CMAKE_INSTALL_DATADIR} OPTIONAL)
  endif()
endif()
install(DIRECTORY include/sarvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
  install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelmorop.tlb ${interface_files}/zelmorop.idl
                ${interface_files}/zelmorop.h DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(FILES CHANGELOG.md LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/sarvane)
write_basic_package_version_file(sarvane-config-version.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT sarvane NAMESPACE sarvane:: FILE sarvane-config.cmake DESTINATION ${package_folder})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/sarvane-config-version.cmake DESTINATION ${package_folder})

# Paths are relative to the file, so that an installed copy can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
set(package_library sarvane)
set(package_description "${PROJECT_DESCRIPTION}")
configure_file(cmake/sarvane.pc.in sarvane.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/sarvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(SARVANE_HOST)
  set(package_library sarvane_study)
  set(package_description "Expressions and studies on streaming technical-analysis operators")
  configure_file(cmake/sarvane.pc.in sarvane_study.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/sarvane_study.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()
