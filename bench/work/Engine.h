#pragma once

#include "model/Collaborators.h"
#include "platform/async/SerialExecutor.h"
#include "platform/async/ThreadPool.h"
#include "platform/async/TimerThread.h"
#include "platform/http/CurlTransport.h"
#include "sync/ScanResult.h"

#include <string>

namespace bench {

// The whole agent below its model, signed in, on real threads and the real network.
class Engine {
public:
    static constexpr const char* userID = "8c1f2d3e-5b7a-4e21-9a3c-1234567890ab";

    // `url` is the hosted project. State lies where the environment says.
    explicit Engine(const std::string& url);

    // Starts sync at full speed and gives what its first scan made of the files. Throws what the start throws.
    [[nodiscard]] veskline::ScanCounters startSync(const std::string& root);

    // Puts one file into the bucket.
    void upload(const std::string& file);

private:
    async::ThreadPool pool_;
    async::SerialExecutor main_;
    async::TimerThread timers_;
    platform::CurlTransport http_;
    veskline::Collaborators agent_;
    veskline::ScanCounters counters_;
};

} // namespace bench
