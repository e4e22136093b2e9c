# Helpers for small libraries: sources by name, USES draws the architecture.
include(GNUInstallDirs)
find_package(Threads REQUIRED)

add_library(zun_flags INTERFACE)
target_compile_features(zun_flags INTERFACE cxx_std_20)
target_include_directories(zun_flags INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(zun_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
                                           -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # GCC 12 sees overlaps in its own std::string where texts are joined by +.
  target_compile_options(zun_flags INTERFACE -Wno-restrict)
endif()

function(zun_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name} PUBLIC zun_flags ${arg_USES})
endfunction()

# A library of headers alone.
function(zun_interface name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES")
  add_library(${name} INTERFACE)
  target_link_libraries(${name} INTERFACE zun_flags ${arg_USES})
endfunction()

# A GoogleTest program; every case becomes a ctest case.
function(zun_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_USES} GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE ZUN_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60)
endfunction()
