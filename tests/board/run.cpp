// Runs the scripts.
#include "run.h"

std::vector<std::string> front_door(const std::string& name,
                                    const std::vector<std::string>& words) {
    std::vector<std::string> command{VTRDC_SOURCE_DIR "/" + name};
    command.insert(command.end(), words.begin(), words.end());
    return command;
}
