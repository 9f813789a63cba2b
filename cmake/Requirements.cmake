# What the build needs: a compiler whose coroutines are sound, and the libraries.

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  message(FATAL_ERROR
    "GNU ${CMAKE_CXX_COMPILER_VERSION} destroys some temporaries twice in a statement with co_await "
    "(aggregates, braced lists, capturing lambdas, class-typed conditionals): what it builds would corrupt "
    "memory. Install clang-19 (./dev setup does) or use GNU 13 or later, and remove the build folder.")
endif()

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_SCAN_FOR_MODULES OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(CURL REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto SSL)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(fmt REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Qml Quick Svg Test)
set(QT_QML_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml)
find_package(GTest REQUIRED)
pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
