# The libraries that the project needs, for another system or processor than that of the build machine: headers where
# that is all, the rest from its sources.

# By themselves: the other headers of the build machine stay unseen.
set(shared_headers ${CMAKE_BINARY_DIR}/shared_headers)
file(MAKE_DIRECTORY ${shared_headers})
foreach(name boost CLI fmt nlohmann)
  file(CREATE_LINK /usr/include/${name} ${shared_headers}/${name} SYMBOLIC)
endforeach()
foreach(package Boost::headers CLI11::CLI11 fmt::fmt nlohmann_json::nlohmann_json)
  add_library(${package} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${package} SYSTEM INTERFACE ${shared_headers})
endforeach()
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
if(SARVANE_HOST)
  include(compression)
endif()

if(SARVANE_TESTS)
  set(googletest /usr/src/googletest/googletest)
  add_library(gtest_main STATIC ${googletest}/src/gtest-all.cc ${googletest}/src/gtest_main.cc)
  target_include_directories(gtest_main PRIVATE ${googletest})
  target_include_directories(gtest_main SYSTEM PUBLIC ${googletest}/include)
  target_compile_options(gtest_main PRIVATE -w)
  add_library(GTest::gtest_main ALIAS gtest_main)
endif()
