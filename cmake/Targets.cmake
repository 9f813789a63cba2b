# How this project's targets are made: one warning set, one include root, one way to add a suite.

include(GoogleTest)

add_library(veskline_warnings INTERFACE)
target_compile_options(veskline_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Wunused
  $<$<CXX_COMPILER_ID:Clang>:-Wimplicit-fallthrough -Wextra-semi -Wno-missing-field-initializers>)

# Qt's keywords would take the names signals, slots and emit from everybody.
target_compile_definitions(veskline_warnings INTERFACE QT_NO_KEYWORDS)

# veskline_library(NAME SOURCES...): a static library whose headers are included from the root of src/.
function(veskline_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PRIVATE veskline_warnings)
endfunction()

# veskline_suite(NAME SOURCES... LIBRARIES ...): one test executable; each of its cases is a ctest case. The time-out only
# ends what hangs: under ThreadSanitizer the end-to-end cases take minutes.
function(veskline_suite name)
  cmake_parse_arguments(PARSE_ARGV 1 SUITE "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${SUITE_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${SUITE_LIBRARIES} GTest::gtest GTest::gtest_main veskline_warnings)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 900)
endfunction()
