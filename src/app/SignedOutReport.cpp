#include "app/SignedOutReport.h"

#include "app/CommandLine.h"
#include "app/ConsoleLine.h"
#include "platform/async/PostCall.h"

#include <QCoreApplication>

#include <fmt/format.h>

#include <utility>

namespace veskline {

namespace {

constexpr const char* remedy =
    "Start Veskline on a desktop with the same state folder and sign in; then start this again.";

} // namespace

SignedOutReport::SignedOutReport(async::Executor main, async::Clock clock, std::string stateFolder)
    : main_(main), clock_(clock), stateFolder_(std::move(stateFolder)) {}

SupabaseHTTPClient::SessionHandler SignedOutReport::handler() {
    return [this](SessionAnswer answer) {
        async::postCall(main_, [this, answer = std::move(answer)]() mutable { note(std::move(answer)); });
    };
}

void SignedOutReport::observe(DesktopAppModel& model) {
    model_ = &model;
    model.observe([this, &model](ModelField field) {
        if (field == ModelField::currentUser && !model.currentUser()) {
            endWithoutUser(model.config().supabaseURL);
        }
    });
}

void SignedOutReport::endWithoutUser(const std::string& project) const {
    if (latest_ && latest_->standing == Standing::unknown) {
        writeFailure(fmt::format("Nothing is synced: {} could not be asked who is signed in ({}). Start Veskline again "
                                 "once it can be reached; the user service does so every minute.",
                                 project, latest_->reason));
        QCoreApplication::exit(CommandLine::unreachable);
        return;
    }
    const std::string reason =
        isRefused() ? fmt::format("{} no longer accepts the session in {} ({})", project, stateFolder_, latest_->reason)
                    : fmt::format("there is no session in {}", stateFolder_);
    writeFailure(fmt::format("Nothing is synced: nobody is signed in, since {}. {}", reason, remedy));
    QCoreApplication::exit(CommandLine::signedOut);
}

void SignedOutReport::note(SessionAnswer answer) {
    latest_ = std::move(answer);
    if (latest_->standing == Standing::accepted) {
        isReported_ = false;
    }
    const bool isSignedIn = model_ != nullptr && model_->currentUser();
    if (isSignedIn && isRefused() && !isReported_ && settling_.hasEnded()) {
        settling_ = async::spawn(main_, [this] { return reportWhenSettled(); });
    }
}

async::Task<> SignedOutReport::reportWhenSettled() {
    co_await clock_.sleepFor(settlingTime);
    if (!isRefused()) {
        co_return;
    }
    isReported_ = true;
    writeFailure(fmt::format("Signed out: {} no longer accepts the session in {} ({}). Nothing more is uploaded. {}",
                             model_->config().supabaseURL, stateFolder_, latest_->reason, remedy));
}

} // namespace veskline
