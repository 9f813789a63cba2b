#pragma once

#include "model/DesktopAppModel.h"
#include "platform/async/Clock.h"
#include "platform/async/Executor.h"
#include "platform/async/Spawn.h"

#include <optional>
#include <string>

namespace veskline {

// What an agent without a window does where nobody is signed in, since no window would show it.
//
// Where the start finds no user it says why on standard error and ends the application: with CommandLine::signedOut
// where nobody is signed in, with CommandLine::unreachable where the service could not be asked. Where the service
// ends the session later, it says so once, and the agent goes on: another program may renew the session.
//
// Built before the model, on the main thread, and kept to the end of the process.
class SignedOutReport {
public:
    // Between a refused renewal and the word about it. Two operations may renew the session at once; the service then
    // refuses one of them, although the session goes on.
    static constexpr std::chrono::seconds settlingTime{5};

    SignedOutReport(async::Executor main, async::Clock clock, std::string stateFolder);
    SignedOutReport(const SignedOutReport&) = delete;
    SignedOutReport& operator=(const SignedOutReport&) = delete;

    // For the surroundings of the model.
    [[nodiscard]] SupabaseHTTPClient::SessionHandler handler();

    // Once, before the model's bootstrap.
    void observe(DesktopAppModel& model);

private:
    using Standing = SessionAnswer::Standing;

    void endWithoutUser(const std::string& project) const;
    void note(SessionAnswer answer);
    async::Task<> reportWhenSettled();
    [[nodiscard]] bool isRefused() const { return latest_ && latest_->standing == Standing::refused; }

    const async::Executor main_;
    const async::Clock clock_;
    const std::string stateFolder_;
    const DesktopAppModel* model_ = nullptr;
    std::optional<SessionAnswer> latest_;
    async::TaskHandle settling_;
    bool isReported_ = false;
};

} // namespace veskline
