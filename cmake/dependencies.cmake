# The libraries. A usual build finds them where they are installed; the cross build for Windows
# takes those that are headers alone from the host, and GoogleTest from its sources.
find_package(Threads REQUIRED)

if(CMAKE_CROSSCOMPILING AND WIN32)
  include(cmake/cross-windows.cmake)
else()
  find_package(fmt REQUIRED)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  find_package(GTest REQUIRED)
endif()

find_package(Qt6 REQUIRED COMPONENTS Core Gui Widgets)
if(NOT WIN32)
  find_package(Qt6 REQUIRED COMPONENTS DBus Test)
endif()
