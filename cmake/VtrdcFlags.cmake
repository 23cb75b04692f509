# Compiler flags shared by all targets; link with vtrdc_flags.
add_library(vtrdc_flags INTERFACE)
target_compile_options(vtrdc_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2
  # GStreamer's macros do that; only clang warns about macros of a library.
  $<$<CXX_COMPILER_ID:Clang>:-Wno-deprecated-enum-enum-conversion>
  $<$<BOOL:${VTRDC_WERROR}>:-Werror>)
# 64-bit file sizes even where the board's C library defaults to less.
target_compile_definitions(vtrdc_flags INTERFACE _FILE_OFFSET_BITS=64)
target_include_directories(vtrdc_flags INTERFACE "${PROJECT_SOURCE_DIR}/src")

if(VTRDC_SANITIZE)
  # Optimising instrumented code takes the compiler three times as long and finds nothing more.
  # Reports need only line numbers of the debug information.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer -O1 -g1
                      # Instrumented library code (std::regex) looks uninitialised to the compiler.
                      -Wno-maybe-uninitialized)
  add_link_options(-fsanitize=address,undefined)
endif()

# The project's version as a text, VTRDC_VERSION, for the few sources that need it at compile time.
add_library(vtrdc_version INTERFACE)
target_compile_definitions(vtrdc_version INTERFACE VTRDC_VERSION="${PROJECT_VERSION}")

# For our code with threads: the stand-ins.
if(VTRDC_SANITIZE_THREADS)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

if(VTRDC_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# For folders where speed doesn't matter: optimising instrumented header libraries takes minutes.
macro(vtrdc_leave_sanitized_unoptimised)
  if(VTRDC_SANITIZE)
    add_compile_options(-O0)
  endif()
endmacro()

# For folders whose headers compile longer than their code: compiles several files as one, so their
# local names must differ.
macro(vtrdc_compile_together)
  set(CMAKE_UNITY_BUILD "${VTRDC_COMPILE_TOGETHER}")
  set(CMAKE_UNITY_BUILD_BATCH_SIZE 5)
endmacro()
