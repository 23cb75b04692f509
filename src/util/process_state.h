// State that the whole process shares; main thread only.
#pragma once

// Set by an action that stored a setting; the main loop rewrites the file after the pass.
inline int update_conf_file = 0;
// Indices into zoom_values and pip_values of what the zoom button applied last.
inline int zoom_value_index = 0;
inline int pip_index_value = 0;
// Set once an outside controller has taken over: actions then only record settings.
inline int disable_non_video = 0;
// Descriptors as registered with the event aggregator, -1 when closed.
inline int acc_fd = -1;
