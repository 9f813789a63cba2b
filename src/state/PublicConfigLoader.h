#pragma once

#include "state/records/PublicConfig.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

// Finds the public configuration, which names the hosted project that this installation belongs to. Runs once, first of
// all, while the application model is being built; nothing is cached.
//
// There are two routes, never mixed. The process environment counts where SUPABASE_URL, SUPABASE_ANON_KEY and
// DASHBOARD_URL are all set and both URLs are absolute URLs; then SUPABASE_BUCKET, or SUPABASE_FILES_BUCKET, and
// VESK_MAX_UPLOAD_BYTES are taken from there too, and no file is read. Else the first present file "public-config.json"
// counts, of a resource folder given, then of the application's own.

namespace veskline::PublicConfigLoader {

// What the process finds around it.
struct Surroundings {
    std::map<std::string, std::string> environment;
    std::optional<std::string> resourceDirectory; // of the application; absent where it cannot be told
};

// The environment, and the folder ../share/veskline from the folder of the running executable (proc(5),
// /proc/self/exe).
[[nodiscard]] Surroundings processSurroundings();

// `bundle` is a folder of resources to look into first. Throws platform::FileError for a file that cannot be found or
// read, and platform::JsonError for one that is no configuration; both name the file. A configuration that is set in
// part of the environment is no failure of its own: the words then speak of the file.
[[nodiscard]] PublicConfig load(const std::optional<std::string>& bundle = std::nullopt,
                                const Surroundings& surroundings = processSurroundings());

// What `load` passes over in the environment although somebody set it: a line each for whoever did, naming the variable
// and what counts instead. Also an address that can't be reached by its scheme, which `load` takes as it stands. The
// key is never quoted.
[[nodiscard]] std::vector<std::string> environmentFaults(const Surroundings& surroundings = processSurroundings());

} // namespace veskline::PublicConfigLoader
