// The recording that is being written, remembered until its files have reached storage.
#include "video/record_file.h"

#include "core/imem.h"
#include "video/media_folder.h"

namespace {

// Owned; a plain pointer since nothing static may be destroyed at exit.
char* record_file = nullptr;

} // namespace

void record_file_set(const char* location_pattern) {
    const malloc_text previous{record_file};
    record_file = estrdup(location_pattern).release();
}

void record_file_finish() {
    if (const malloc_text finished{record_file}) {
        record_file = nullptr;
        flush_folder_of_file(finished.get());
    }
}
