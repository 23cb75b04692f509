// Which version this is. The text is written by the build.
#pragma once

// The project's version, such as "3.0.0".
extern const char* const project_version;

// What it was built from: the commit as git describes it, with "-dirty" when files had been
// changed, or the project's version where the sources are in no repository.
extern const char* const build_version;
