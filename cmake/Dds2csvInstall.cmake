# Installs the libraries with their headers, for find_package(dds2csv) and for pkg-config.
include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY DDS2CSV_LIBRARIES)
get_property(DDS2CSV_MODULES GLOBAL PROPERTY DDS2CSV_MODULES)
list(REMOVE_DUPLICATES DDS2CSV_MODULES)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/dds2csv)

install(TARGETS ${libraries} EXPORT dds2csv ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(EXPORT dds2csv NAMESPACE dds2csv:: FILE dds2csv-targets.cmake DESTINATION ${package_folder} COMPONENT dev)
install(DIRECTORY platform input schema format convert DESTINATION ${DDS2CSV_HEADERS} COMPONENT dev
        FILES_MATCHING PATTERN "*.hpp")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence)

configure_package_config_file(cmake/dds2csv-config.cmake.in ${PROJECT_BINARY_DIR}/dds2csv-config.cmake
                              INSTALL_DESTINATION ${package_folder})
# Before 1.0 a minor version may change what programs are compiled against.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/dds2csv-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/dds2csv-config.cmake ${PROJECT_BINARY_DIR}/dds2csv-config-version.cmake
        DESTINATION ${package_folder} COMPONENT dev)

# A linker takes archives from left to right, the user before the used.
list(REVERSE libraries)
foreach(library IN LISTS libraries)
  get_target_property(type ${library} TYPE)
  if(type STREQUAL STATIC_LIBRARY)
    string(APPEND DDS2CSV_ARCHIVES " -l${library}")
  endif()
endforeach()
list(JOIN DDS2CSV_MODULES " " DDS2CSV_REQUIRES)
file(RELATIVE_PATH DDS2CSV_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/dds2csv.pc.in ${PROJECT_BINARY_DIR}/dds2csv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dds2csv.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
