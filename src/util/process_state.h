// State that the whole process shares; main thread only.
#pragma once

// Set by an action that stored a setting; the main loop rewrites the file after the pass.
inline int update_conf_file = 0;
