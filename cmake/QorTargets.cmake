# How the libraries are compiled and linked on either system.

if(WIN32)
  set(QOR_SYSTEM windows)
  set(QOR_OBJECT_FORMAT pe)
else()
  set(QOR_SYSTEM posix)
  set(QOR_OBJECT_FORMAT elf)
endif()

add_library(qor_warnings INTERFACE)
target_compile_options(qor_warnings INTERFACE -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wcast-qual
                       $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor> -Werror)

# Results depend on the text alone: no contraction, no reassociation, the baseline processor.
function(qor_library_options target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions;-fno-rtti;-fno-threadsafe-statics>
                         -march=x86-64 -mfpmath=sse -ffp-contract=off -fno-semantic-interposition -fno-math-errno)
  target_link_libraries(${target} PRIVATE qor_warnings)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

# A shared library that exports exactly the names of its lists. NAME is its file name where it is not the target's.
function(qor_shared_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME" "EXPORTS;SOURCES")
  if(NOT arg_NAME)
    set(arg_NAME ${target})
  endif()
  list(TRANSFORM arg_EXPORTS REPLACE "^([^/].*)" "${CMAKE_CURRENT_SOURCE_DIR}/\\1" OUTPUT_VARIABLE lists)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}_exports.def)
  add_custom_command(OUTPUT ${script} DEPENDS ${lists} ${PROJECT_SOURCE_DIR}/tools/make_exports.py
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/tools/make_exports.py ${QOR_OBJECT_FORMAT} ${arg_NAME} ${script}
            ${lists} VERBATIM)
  add_custom_target(${target}_exports DEPENDS ${script})
  add_library(${target} SHARED ${arg_SOURCES})
  add_dependencies(${target} ${target}_exports)
  qor_library_options(${target})
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script} LINKER_LANGUAGE CXX OUTPUT_NAME ${arg_NAME})
  if(WIN32)
    # The DLL and its import library both stand in lib/.
    set_target_properties(${target} PROPERTIES PREFIX "" RUNTIME_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
    target_link_options(${target} PRIVATE ${script} -static -static-libgcc -static-libstdc++)
  else()
    target_link_options(${target} PRIVATE -Wl,--version-script=${script} -Wl,-Bsymbolic-functions -Wl,--as-needed
                        -Wl,-z,defs,-z,now,-z,noexecstack)
    if(NOT QOR_SANITIZE)
      target_link_options(${target} PRIVATE -static-libgcc)
    endif()
  endif()
endfunction()
