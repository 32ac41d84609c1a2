# Compiler flags shared by every target of the project.
add_library(pava_flags INTERFACE)
target_compile_options(pava_flags INTERFACE
  -Wall -Wextra -Wno-missing-field-initializers
  # clang has no -Wshadow=local (the fuzz targets are built with clang).
  $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
if(PAVA_WERROR)
  target_compile_options(pava_flags INTERFACE -Werror)
endif()
if(PAVA_SANITIZE)
  target_compile_options(pava_flags INTERFACE
    -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(pava_flags INTERFACE -fsanitize=address,undefined)
endif()
if(PAVA_FUZZ)
  target_compile_options(pava_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined)
  target_link_options(pava_flags INTERFACE -fsanitize=address,undefined)
endif()
target_include_directories(pava_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)

# pava_core_library(name sources... DEPS libs...): one static library per subsystem.
function(pava_core_library name)
  cmake_parse_arguments(A "" "" "SOURCES;DEPS" ${ARGN})
  if(NOT A_SOURCES)
    # A subsystem whose code has not arrived yet still gets its library.
    set(A_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/${name}_empty.cpp)
    file(WRITE ${A_SOURCES} "// no sources yet\n")
  endif()
  add_library(${name} STATIC ${A_SOURCES})
  target_link_libraries(${name} PUBLIC pava_flags ${A_DEPS})
endfunction()
