# Warning flags shared by every target of the project.
add_library(invitro_warnings INTERFACE)
target_compile_options(invitro_warnings INTERFACE -Wall -Wextra)
# Wide vector-extension values (raster/lanes.h) pass only between inline helpers built
# with the same flags, so the compilers' note that their calling convention would differ
# with AVX concerns no interface of ours.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(invitro_warnings INTERFACE -Wno-psabi)
endif()
if(INVITRO_WERROR)
  target_compile_options(invitro_warnings INTERFACE -Werror)
endif()

# invitro_library(name dir): the static library of a subsystem, made of the .cpp
# files directly inside `dir` (platform files live in subfolders and are added as
# object libraries by the subsystem's own CMakeLists).
function(invitro_library name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  if(NOT sources)
    set(sources ${CMAKE_CURRENT_BINARY_DIR}/${name}_empty.cpp)
    file(WRITE ${sources} "// ${name} has no sources yet.\n")
  endif()
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC invitro_warnings)
endfunction()

# invitro_platform(name sources...): platform files as an object library, so that
# the seam functions they define are always linked into the program that uses them.
function(invitro_platform name)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PUBLIC invitro_warnings)
endfunction()
