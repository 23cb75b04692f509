// The settings that apply, and the configuration file's reader and writer.
#pragma once

#include "config/settings.h"
#include "core/imem.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

// The one record; main thread only.
extern settings global_config;

// Marks the file for rewriting, which the loop does after the pass.
inline int update_conf_file = 0;

// Stores a value that an action takes, and marks the file when it differs from the one before. True
// when it did.
template <class Value> bool cfg_store(Value settings::*field, std::type_identity_t<Value> value) {
    if (global_config.*field == value) {
        return false;
    }
    global_config.*field = value;
    update_conf_file = 1;
    return true;
}

// Reads the file at `path` into the record. 0 when it held at least one key=value line, else 1.
// What it can't take is a warning for each line. A number that is not finite is replaced by the
// default, an index that selects no entry of its table by 0, without marking the file for
// rewriting.
[[nodiscard]] int cfg_read_config(const char* path);

// Builds the raw key table from the file. The number of entries, or -1 when no line could be read.
[[nodiscard]] int cfg_parse(const char* path);

// Stores one value into the record, whatever its range. 0 stored; 1 unknown key, or a number with
// characters left over (its leading number is stored all the same).
[[nodiscard]] int try_parse_key(const char* key, const char* value);

// Leading base-10 integer of the text, clamped to 32 bits; 0, or 1 when characters remain.
[[nodiscard]] int cfg_parse_to_int(const char* text, std::int32_t& value);

// Leading floating-point number of the text; 0.0, or 1.0 when characters remain.
[[nodiscard]] double cfg_parse_to_double(const char* text, double& value);

// All keyed settings, one line each in the table's order; the length without the terminator goes
// to `length` when given.
[[nodiscard]] malloc_text cfg_serialize_global_config(std::size_t* length = nullptr);

// Rewrites the file at `path` in place and forces it to storage; 0, or 1 with errno set when it
// can't be opened or written.
[[nodiscard]] int cfg_write_config_file(const char* path);

// Releases the raw key table.
void cfg_clean();

// Raw entries of the file that was read, the first one with that key.
// Its index, or -1.
[[nodiscard]] int find_key_in_table(const char* key);
// Its value, borrowed from the table, or null.
[[nodiscard]] const char* cfg_get_str(const char* key);
// Its value as an integer: status of cfg_parse_to_int, or 1 when the key is absent.
[[nodiscard]] int cfg_get_int(const char* key, std::int32_t& value);
// All keys in file order, borrowed from the table; empty when the table is.
[[nodiscard]] std::vector<const char*> cfg_get_all_keys();
