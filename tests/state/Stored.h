#pragma once

#include "simulation/OneThread.h"
#include "state/StorePlace.h"
#include "support/Failure.h"
#include "support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace veskline::testing {

// A store in a folder of its own: its file "own", beside the older one that it takes over from.
template <class Store>
struct Stored {
    bool mustBeOwn = false;
    TemporaryFolder folder;
    OneThread thread{};
    StorePlace place{.path = folder.at("own"), .mustBeOwn = mustBeOwn};
    std::unique_ptr<Store> store = open();

    std::unique_ptr<Store> open() { return std::make_unique<Store>(thread.executor(), place, folder.at("older")); }
    // Waits for an operation of the store.
    template <class Result, class... Parameters>
    Result run(async::Task<Result> (Store::*operation)(Parameters...), std::type_identity_t<Parameters>... arguments) {
        return thread.run([&] { return (store.get()->*operation)(std::move(arguments)...); });
    }
    template <class... Parameters>
    std::string failureOf(async::Task<> (Store::*operation)(Parameters...),
                          std::type_identity_t<Parameters>... arguments) {
        return testing::failureOf([&] { run(operation, std::move(arguments)...); });
    }
    std::string failureToOpen() {
        return testing::failureOf([&] { open(); });
    }
    // What may be of files: content, nothing, or something else that took the name.
    void put(const std::string& name, const std::string& content) {
        if (content == "a folder") {
            folder.makeFolder(name);
        } else if (content != "nothing") {
            folder.write(name, content);
        }
    }
};

} // namespace veskline::testing
