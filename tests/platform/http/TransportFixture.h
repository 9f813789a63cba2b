#pragma once

#include "support/Browser.h"
#include "support/ScriptedServer.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace platform::testing {

using veskline::testing::ScriptedReply;
using veskline::testing::ScriptedServer;

// A transport, and a server to talk to.
class TransportFixture : public ::testing::Test {
protected:
    explicit TransportFixture(CurlLimits limits = {}) : browser(limits) {}

    std::string outcomeOf(const std::string& method, const std::string& url) {
        return browser.outcome({.method = method, .url = url});
    }
    std::string outcomeOfUpload(const std::string& path) {
        return browser.outcome({.method = "POST", .url = server.url() + "/object", .body = FileBody{path}});
    }

    TemporaryFolder folder;
    ScriptedServer server;
    veskline::testing::Browser browser;
};

} // namespace platform::testing
