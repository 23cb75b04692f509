# Writes OUTPUT, the texts of util/build_version.h, if they have changed. The build is git's
# description of SOURCE or, in a copy outside of a repository, the contents of its file
# build-version.
set(build "${VERSION}")
if(EXISTS "${SOURCE}/build-version")
  file(STRINGS "${SOURCE}/build-version" build LIMIT_COUNT 1)
elseif(EXISTS "${SOURCE}/.git")
  execute_process(COMMAND git -C "${SOURCE}" describe --tags --always --dirty
    OUTPUT_VARIABLE described OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
  if(NOT failed)
    set(build "${described}")
  endif()
endif()
set(text "// Written by the build.
#include \"util/build_version.h\"

const char* const project_version = \"${VERSION}\";
const char* const build_version = \"${build}\";
")
set(before "")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" before)
endif()
if(NOT before STREQUAL text)
  file(WRITE "${OUTPUT}" "${text}")
endif()
