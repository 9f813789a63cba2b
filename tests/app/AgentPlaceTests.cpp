#include "app/AgentPlace.h"

#include "platform/files/FileError.h"
#include "platform/files/OpenDescriptor.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <future>
#include <optional>

using namespace std::chrono_literals;

namespace veskline::testing {

namespace {

using Holder = AgentPlace::Holder;
using platform::OpenDescriptor;

class AgentPlaceOfOneFolder : public ::testing::Test {
protected:
    // What a later start finds, while the first one's event loop runs.
    Holder laterStart(std::chrono::milliseconds patience) {
        std::future<Holder> holder = std::async(std::launch::async, [this, patience] {
            AgentPlace later(folder.string());
            return later.settle(patience);
        });
        while (holder.wait_for(1ms) == std::future_status::timeout) {
            QCoreApplication::processEvents();
        }
        return holder.get();
    }

    // As a start has the folder's name for a moment: bound, and not listening yet.
    [[nodiscard]] OpenDescriptor bindName() const {
        struct stat status{};
        sockaddr_un name{.sun_family = AF_UNIX, .sun_path = {}};
        OpenDescriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        EXPECT_EQ(::stat(folder.string().c_str(), &status), 0);
        const std::string text =
            "veskline-agent/" + std::to_string(status.st_dev) + "/" + std::to_string(status.st_ino);
        std::ranges::copy(text, name.sun_path + 1);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
        EXPECT_EQ(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&name), length), 0);
        return socket;
    }

    int argc = 0;
    QCoreApplication application{argc, nullptr};
    TemporaryFolder folder;
    std::optional<AgentPlace> first{std::in_place, folder.string()};
};

} // namespace

TEST_F(AgentPlaceOfOneFolder, IsTakenOnceAndAsksItsHolderForItsWindow) {
    ASSERT_EQ(first->settle(0ms), Holder::thisProcess);
    EXPECT_EQ(laterStart(60ms), Holder::anotherThatIsSilent) << "before its event loop answers";
    int starts = 0;
    bool hasWindow = true;
    first->onLaterStart([&] { return ++starts > 0 && hasWindow; });
    while (starts == 0) {
        QCoreApplication::processEvents(); // the start that came too early is answered first, though it has gone
    }
    const int early = starts;
    EXPECT_EQ(laterStart(10s), Holder::anotherThatShowsItsWindow);
    hasWindow = false;
    EXPECT_EQ(laterStart(10s), Holder::anotherWithoutWindow);
    EXPECT_EQ(starts, early + 2);

    TemporaryFolder other;
    EXPECT_EQ(AgentPlace(other.string()).settle(0ms), Holder::thisProcess) << "each folder has a place of its own";
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "nothing is left behind";
}

TEST_F(AgentPlaceOfOneFolder, IsFreeAsSoonAsItsHolderHasEnded) {
    ASSERT_EQ(first->settle(0ms), Holder::thisProcess);
    std::future<Holder> later =
        std::async(std::launch::async, [this] { return AgentPlace(folder.string()).settle(10s); });
    EXPECT_EQ(later.wait_for(50ms), std::future_status::timeout) << "it waits for an answer";
    first.reset();
    EXPECT_EQ(later.get(), Holder::thisProcess);
}

TEST_F(AgentPlaceOfOneFolder, IsTakenOnceAlsoWhereTheFolderCanNotBeLocked) {
    std::filesystem::permissions(folder.path(),
                                 std::filesystem::perms::owner_write | std::filesystem::perms::owner_exec);
    const Unprivileged user(folder.path());
    first.emplace(folder.string());
    ASSERT_EQ(first->settle(0ms), Holder::thisProcess);
    first->onLaterStart([] { return true; });
    EXPECT_EQ(laterStart(10s), Holder::anotherThatShowsItsWindow);
    first.reset();
    EXPECT_EQ(laterStart(0ms), Holder::thisProcess);

    const OpenDescriptor starting = bindName();
    EXPECT_EQ(laterStart(0ms), Holder::thisProcess) << "who never listens is no agent";
    std::future<Holder> later = std::async(std::launch::async, [&] { return AgentPlace(folder.string()).settle(10s); });
    EXPECT_EQ(later.wait_for(50ms), std::future_status::timeout) << "who has the name may be about to listen";
    ASSERT_EQ(::listen(starting.number(), 8), 0);
    while (later.wait_for(1ms) == std::future_status::timeout) {
        const OpenDescriptor asking(::accept(starting.number(), nullptr, nullptr));
        ::send(asking.number(), "w", 1, MSG_NOSIGNAL);
    }
    EXPECT_EQ(later.get(), Holder::anotherThatShowsItsWindow);
}

TEST_F(AgentPlaceOfOneFolder, IsNotWaitedForByWhoIsAskedToEnd) {
    ASSERT_EQ(first->settle(0ms), Holder::thisProcess);
    const OpenDescriptor signal(::eventfd(0, EFD_CLOEXEC));
    std::future<Holder> later = std::async(
        std::launch::async, [&] { return AgentPlace(folder.string()).settle(std::chrono::hours(1), signal.number()); });
    EXPECT_EQ(later.wait_for(50ms), std::future_status::timeout);
    ASSERT_EQ(::eventfd_write(signal.number(), 1), 0);
    EXPECT_EQ(later.get(), Holder::unknown);
}

TEST_F(AgentPlaceOfOneFolder, SaysWhichFolderCannotBeOpened) {
    try {
        const AgentPlace place(folder.at("missing"));
        FAIL() << "it was opened";
    } catch (const platform::FileError& error) {
        EXPECT_EQ(std::string(error.what()),
                  "The file \"" + folder.at("missing") + "\" could not be opened: No such file or directory");
    }
}

} // namespace veskline::testing
