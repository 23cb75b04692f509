// The program's version. The build writes the texts.
#pragma once

// The project's version, e.g. "3.0.0".
extern const char* const project_version;

// The commit it was built from, as git describes it, with "-dirty" if files were changed; the
// project's version if the sources are in no repository.
extern const char* const build_version;
