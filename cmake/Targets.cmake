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
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 900 LABELS ${name})
endfunction()

# veskline_qml_module(NAME URI QML_FILES ... SOURCES ... RESOURCES ... IMPORTS ... LIBRARIES ...): one folder of the window
# as a static QML module. Compiled ahead where users run it; a development build reads the QML as it is.
function(veskline_qml_module name uri)
  cmake_parse_arguments(PARSE_ARGV 2 MODULE "" "" "QML_FILES;SOURCES;RESOURCES;IMPORTS;LIBRARIES")
  set(caching "")
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    set(caching NO_CACHEGEN)
  endif()
  set(imports "")
  if(MODULE_IMPORTS)
    set(imports IMPORTS ${MODULE_IMPORTS})
  endif()
  set(CMAKE_AUTOMOC ON)
  # moc 6.4 can't read the attribute that libstdc++ puts on its namespace.
  set(CMAKE_AUTOMOC_MOC_OPTIONS "-D_GLIBCXX_VISIBILITY=")
  qt_add_library(${name} STATIC)
  qt_add_qml_module(${name} URI ${uri} VERSION 1.0 RESOURCE_PREFIX /qt/qml DEPENDENCIES QtQuick ${imports} ${caching}
    QML_FILES ${MODULE_QML_FILES} SOURCES ${MODULE_SOURCES} RESOURCES ${MODULE_RESOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE QT_NO_KEYWORDS)
  target_link_libraries(${name} PUBLIC Qt6::Quick ${MODULE_LIBRARIES})
  # The warnings are for what people wrote, not for what Qt's tools made of the QML.
  set_source_files_properties(${MODULE_SOURCES} PROPERTIES
    COMPILE_OPTIONS "$<TARGET_PROPERTY:veskline_warnings,INTERFACE_COMPILE_OPTIONS>")
endfunction()
