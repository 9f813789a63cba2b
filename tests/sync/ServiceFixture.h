#pragma once

#include "simulation/InProcessProject.h"
#include "simulation/OneThread.h"
#include "support/ScriptedEventStream.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace veskline::testing {

// One thread with a clock of the test's own, a hosted project, a change stream and a folder: all that surrounds the
// engine.
class ServiceFixture : public ::testing::Test {
protected:
    // Answers each request whose text holds `part` so, until heal().
    void failAt(std::string part, int status) {
        project.setFaults([part = std::move(part), status](std::string_view request) {
            return request.contains(part) ? std::optional(InProcessProject::Fault{.status = status}) : std::nullopt;
        });
    }
    void heal() { project.setFaults({}); }
    // Lets the requests go that the project holds.
    void letGo() {
        project.release();
        thread.settle();
    }

    TemporaryFolder folder;
    OneThread thread;
    async::SerialExecutor main{thread.executor()};
    ScriptedEventStream stream;
    InProcessProject project{thread.executor()};
};

} // namespace veskline::testing
