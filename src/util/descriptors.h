// All file descriptors of the process.
#pragma once

// Closes every descriptor, including the standard streams.
void close_all_descriptors();

// Sets close-on-exec on every descriptor but the standard streams.
void keep_descriptors_from_programs();
