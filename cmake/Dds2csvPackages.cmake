# Packages for Debian and its descendants, made by cpack: dds2csv with the tool, libdds2csv-dev with the libraries.
#
# The libraries are archives without a stable interface yet, so there is nothing that a running program would need from
# a third package. What the -dev package depends on are the packages whose pkg-config files the libraries were built by.
set(DDS2CSV_MAINTAINER "" CACHE STRING "Who answers for the packages, as in Debian: NAME <ADDRESS>")

# Names of the packages that the .pc files of `modules` belong to, each once.
function(dds2csv_packages_of modules result)
  foreach(module IN LISTS modules)
    execute_process(COMMAND ${PKG_CONFIG_EXECUTABLE} --variable=pcfiledir ${module}
                    OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-query --search ${folder}/${module}.pc OUTPUT_VARIABLE owner COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "[:,].*" "" owner "${owner}")
    list(APPEND packages ${owner})
  endforeach()
  list(REMOVE_DUPLICATES packages)
  list(SORT packages)
  set(${result} ${packages} PARENT_SCOPE)
endfunction()

# Every package has a folder of documents with these three.
set(debian ${PROJECT_BINARY_DIR}/debian)
set(release 1)  # of the packages, within one version of what they hold
string(TIMESTAMP DDS2CSV_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, where that is set
string(TIMESTAMP DDS2CSV_YEAR "%Y" UTC)
configure_file(cmake/debian/copyright.in ${debian}/copyright @ONLY)
configure_file(cmake/debian/changelog.in ${debian}/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${debian}/changelog COPYONLY)
foreach(log IN ITEMS changelog changelog.Debian)
  execute_process(COMMAND gzip -9nf ${debian}/${log} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(package IN ITEMS "tool;dds2csv" "dev;libdds2csv-dev")
  list(GET package 0 component)
  list(GET package 1 name)
  install(FILES ${debian}/copyright ${debian}/changelog.gz ${debian}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endforeach()

# Archives have no use for what only debuggers read; cpack itself strips programs alone.
install(CODE "
  file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libdds2csv_*.a\")
  execute_process(COMMAND ${CMAKE_STRIP} --strip-debug --remove-section=.comment --enable-deterministic-archives \${archives}
                  COMMAND_ERROR_IS_FATAL ANY)" COMPONENT dev)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL tool dev)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # or it would head the description of both packages
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${DDS2CSV_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${release})
set(CPACK_DEBIAN_PACKAGE_SOURCE dds2csv)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME dds2csv)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "convert recordings of a DDS data bus to CSV files
One CSV file per topic, one row per message, one column per leaf field.
Reads MCAP files and rosbag2 folders, takes the types from the recording,
and needs no ROS installation. What cannot be converted is named in a
closing report.")

dds2csv_packages_of("${DDS2CSV_MODULES}" needed)
list(JOIN needed ", " needed)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libdds2csv-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${needed}, pkg-config")
set(CPACK_DEBIAN_DEV_DESCRIPTION "libraries behind dds2csv, for use in other programs
The CSV format by itself, and whole conversions: recordings in, CSV files
out, the report as values. Static libraries and headers for C++20, found by
find_package(dds2csv) of CMake and by pkg-config.")
include(CPack)
