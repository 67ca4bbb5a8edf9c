# The same numbers on every CPU: every target of every build (intro, tools, tests,
# sanitizer and fuzz builds, Windows, web, arm64) computes each a * b + c as written,
# rounded twice. GCC fuses such pairs into one fused multiply-add wherever the target
# has the instruction (always on arm64; on x86-64 with -mfma or -march=x86-64-v3), and
# the fused result can differ in its last bit.
add_compile_options(-ffp-contract=off)

# Flags that let the compiler pick FMA instructions are refused; the test
# Build.FloatFlags checks every compile command of a build for both rules.
set(flags "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS} $ENV{CFLAGS} $ENV{CXXFLAGS}")
foreach(config DEBUG RELEASE RELWITHDEBINFO MINSIZEREL)
  string(APPEND flags " ${CMAKE_C_FLAGS_${config}} ${CMAKE_CXX_FLAGS_${config}}")
endforeach()
if(flags MATCHES "-mfma|-march=(x86-64-v[34]|native)")
  message(FATAL_ERROR "the compiler flags ask for ${CMAKE_MATCH_0}: the outputs would then "
                      "depend on the CPU; build without it")
endif()
