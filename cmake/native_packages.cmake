# The libraries that the project needs, as the system has them.

find_package(Boost REQUIRED)
if(SARVANE_HOST)
  find_package(CLI11 REQUIRED)
  find_package(fmt REQUIRED)
  find_package(nlohmann_json REQUIRED)
  include(compression)
endif()
if(SARVANE_TESTS)
  find_package(GTest REQUIRED)
endif()
