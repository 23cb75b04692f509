// All file descriptors of the process at once.
#pragma once

// Closes every descriptor, the standard streams' included.
void close_all_descriptors();

// Programs that are run inherit the standard streams alone.
void keep_descriptors_from_programs();
