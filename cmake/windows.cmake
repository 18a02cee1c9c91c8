# SARVANE.DLL. Included by the top-level file.

add_compile_definitions(NOMINMAX _WIN32_WINNT=0x0A00 _FILE_OFFSET_BITS=64)
foreach(target sarvane_objects sarvane)
  target_link_libraries(${target} PUBLIC ole32 oleaut32 uuid)
endforeach()

target_sources(sarvane PRIVATE src/platform/exports_windows.def)
set_target_properties(sarvane PROPERTIES PREFIX "" OUTPUT_NAME SARVANE SUFFIX .DLL)

# Resources. A program of the build machine knows the class table, so the library is built for that machine first.
set(resources ${CMAKE_BINARY_DIR}/resources)
set(resource_sources ${CMAKE_SOURCE_DIR}/resources)
file(MAKE_DIRECTORY ${resources})
add_custom_command(
  OUTPUT ${resources}/scripts.rc ${resources}/coclasses.idl
  COMMAND ${CMAKE_COMMAND} --preset release
  COMMAND ${CMAKE_COMMAND} --build --preset release --target write_resources
  COMMAND ${CMAKE_SOURCE_DIR}/build/release/bin/write_resources ${resources}
  DEPENDS ${sarvane_sources} ${resource_sources}/write_resources.cpp
  WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
  VERBATIM)

# Type libraries refer to the system's own, which comes with Wine.
find_program(WIDL x86_64-w64-mingw32-widl REQUIRED)
find_path(SYSTEM_TYPE_LIBRARIES stdole2.tlb PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows NO_CMAKE_FIND_ROOT_PATH REQUIRED)
# It writes the time into type libraries. Packages have that of their commit.
set(widl ${WIDL})
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  find_program(FAKETIME faketime REQUIRED)
  string(TIMESTAMP commit_time "%Y-%m-%d %H:%M:%S" UTC)
  set(widl ${FAKETIME} -f ${commit_time} ${WIDL})
endif()
function(add_type_library name)
  add_custom_command(
    OUTPUT ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}.tlb
    COMMAND ${widl} --win64 -t -I ${resources} -L ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} -L ${SYSTEM_TYPE_LIBRARIES}
            -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}.tlb ${resource_sources}/${name}.idl
    DEPENDS ${resource_sources}/${name}.idl ${resource_sources}/operator.idl ${resource_sources}/platform.idl ${ARGN}
    VERBATIM)
endfunction()
add_type_library(zelmorop)
add_type_library(sarvane ${resources}/coclasses.idl ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelmorop.tlb)

# The interfaces for other languages: their description, and a header for C made from it. Outside this build the system's
# own files stand for what they rest on.
set(interface_files ${CMAKE_BINARY_DIR}/interfaces)
file(MAKE_DIRECTORY ${interface_files})
add_custom_command(
  OUTPUT ${interface_files}/zelmorop.idl ${interface_files}/zelmorop.h
  COMMAND ${CMAKE_COMMAND} -E copy ${resource_sources}/operator.idl ${interface_files}/zelmorop.idl
  COMMAND sed -i "s/platform.idl/unknwn.idl/" ${interface_files}/zelmorop.idl
  COMMAND ${WIDL} --win64 -h -o ${interface_files}/zelmorop.h ${resource_sources}/operator.idl
  COMMAND sed -i "s/<platform.h>/<unknwn.h>/; 1s, from [^ ]*/, from ," ${interface_files}/zelmorop.h
  DEPENDS ${resource_sources}/operator.idl ${resource_sources}/platform.idl
  VERBATIM)
add_custom_target(interface_files ALL DEPENDS ${interface_files}/zelmorop.idl ${interface_files}/zelmorop.h)

configure_file(${resource_sources}/version.h.in ${resources}/version.h @ONLY)
add_custom_command(
  OUTPUT ${resources}/sarvane.o
  COMMAND ${CMAKE_RC_COMPILER} -I ${resources} -I ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${resource_sources}/sarvane.rc
          ${resources}/sarvane.o
  DEPENDS ${resource_sources}/sarvane.rc ${resources}/scripts.rc ${resources}/version.h ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/sarvane.tlb
  VERBATIM)
set_source_files_properties(${resources}/sarvane.o PROPERTIES EXTERNAL_OBJECT TRUE GENERATED TRUE)
set(module_resources ${resources}/sarvane.o)
target_sources(sarvane PRIVATE ${module_resources})
