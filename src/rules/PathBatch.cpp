#include "rules/PathBatch.h"

#include <utility>

namespace veskline {

void PathBatch::add(std::string path, Instant now) {
    if (!due_) {
        due_ = now + latency_;
    }
    if (isOverfull_) {
        return;
    }
    paths_.insert(std::move(path));
    if (paths_.size() > mostPaths_) {
        isOverfull_ = true;
        paths_ = {roots_.begin(), roots_.end()};
    }
}

std::vector<std::string> PathBatch::take() {
    std::vector<std::string> paths;
    paths.reserve(paths_.size());
    while (!paths_.empty()) {
        paths.push_back(std::move(paths_.extract(paths_.begin()).value()));
    }
    paths_ = {};
    due_.reset();
    isOverfull_ = false;
    return paths;
}

} // namespace veskline
