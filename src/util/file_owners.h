// Owners of the C library's FILE and DIR.
#pragma once

#include <cstdio>
#include <dirent.h>
#include <memory>

struct file_closer {
    void operator()(FILE* file) const noexcept { std::fclose(file); }
};
using file_owner = std::unique_ptr<FILE, file_closer>;

struct folder_closer {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using folder_owner = std::unique_ptr<DIR, folder_closer>;
