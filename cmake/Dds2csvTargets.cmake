# Helpers for small libraries: sources by name, USES draws the architecture.
#
# dds2csv_library(format ...) makes the target dds2csv_format, which is dds2csv::format here as it is in a project that
# found the installed one. What is installed, and what it needs of the system, is written down on the way, in the global
# properties DDS2CSV_LIBRARIES (targets, the used before the user) and DDS2CSV_MODULES (names of pkg-config).
find_package(PkgConfig REQUIRED)

# Warnings are for the project's own sources alone, so they are no usage requirement.
function(dds2csv_warn target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
                                           -Wnon-virtual-dtor -Woverloaded-virtual)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # GCC 12 sees overlaps in its own std::string where texts are joined by +.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(DDS2CSV_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Without SOURCES it is a library of headers alone; INTERNAL ones are not installed.
function(dds2csv_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INTERNAL" "" "SOURCES;USES")
  set(target dds2csv_${name})
  if(arg_SOURCES)
    set(scope PUBLIC)
    add_library(${target} STATIC ${arg_SOURCES})
    dds2csv_warn(${target})
  else()
    set(scope INTERFACE)
    add_library(${target} INTERFACE)
  endif()
  add_library(dds2csv::${name} ALIAS ${target})
  target_compile_features(${target} ${scope} cxx_std_20)
  target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                                $<INSTALL_INTERFACE:${DDS2CSV_HEADERS}>)
  target_link_libraries(${target} ${scope} ${arg_USES})
  if(NOT arg_INTERNAL)
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
    set_property(GLOBAL APPEND PROPERTY DDS2CSV_LIBRARIES ${target})
  endif()
endfunction()

# A library of the system, by its name in pkg-config: PkgConfig::NAME.
function(dds2csv_module name)
  pkg_check_modules(${name} REQUIRED IMPORTED_TARGET GLOBAL ${name})
  set_property(GLOBAL APPEND PROPERTY DDS2CSV_MODULES ${name})
endfunction()

function(dds2csv_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_executable(${name} ${arg_SOURCES})
  dds2csv_warn(${name})
  target_link_libraries(${name} PRIVATE ${arg_USES})
endfunction()

# A GoogleTest program; every case becomes a ctest case.
function(dds2csv_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  dds2csv_program(${name} SOURCES ${arg_SOURCES} USES ${arg_USES} GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE ZUN_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
endfunction()
