#pragma once

#include <cstdint>
#include <string>

namespace bench {

// Fills the state database as if each file of the tree had been uploaded as it is: the rows of a first scan, in its
// order, but in one transaction instead of one for each. Gives the number of rows. Throws std::runtime_error.
std::int64_t rememberAsUploaded(const std::string& root);

} // namespace bench
