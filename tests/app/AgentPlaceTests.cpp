#include "app/AgentPlace.h"

#include "platform/files/OpenDescriptor.h"
#include "support/Failure.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <QCoreApplication>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <future>
#include <optional>

using namespace std::chrono_literals;

namespace veskline::testing {

namespace {

using Holder = AgentPlace::Holder;
using platform::OpenDescriptor;

class AgentPlaceOfOneFolder : public ::testing::Test {
protected:
    [[nodiscard]] std::future<Holder> startLater(std::chrono::milliseconds patience, int breakOff = -1) const {
        return std::async(std::launch::async,
                          [=, this] { return AgentPlace(folder.string()).settle(patience, breakOff); });
    }
    // What a later start finds, while the first one's event loop runs.
    [[nodiscard]] Holder laterStart(std::chrono::milliseconds patience) const {
        std::future<Holder> holder = startLater(patience);
        while (holder.wait_for(1ms) == std::future_status::timeout) {
            QCoreApplication::processEvents();
        }
        return holder.get();
    }

    // As a start has the folder's name for a moment: bound, and not listening yet.
    [[nodiscard]] OpenDescriptor bindName() const {
        struct stat status{};
        EXPECT_EQ(::stat(folder.string().c_str(), &status), 0);
        const std::string text = fmt::format("veskline-agent/{}/{}", status.st_dev, status.st_ino);
        sockaddr_un name{.sun_family = AF_UNIX, .sun_path = {}};
        const std::size_t length = offsetof(sockaddr_un, sun_path) + 1 + text.copy(name.sun_path + 1, text.size());
        OpenDescriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0));
        EXPECT_EQ(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&name), static_cast<socklen_t>(length)), 0);
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

TEST_F(AgentPlaceOfOneFolder, IsWaitedForUntilItsHolderOrTheWaitIsToEnd) {
    ASSERT_EQ(first->settle(0ms), Holder::thisProcess);
    const OpenDescriptor signal(::eventfd(0, EFD_CLOEXEC));
    std::future<Holder> later = startLater(1h);
    std::future<Holder> interrupted = startLater(1h, signal.number());
    EXPECT_EQ(interrupted.wait_for(50ms), std::future_status::timeout) << "it waits for an answer";
    EXPECT_EQ(::eventfd_write(signal.number(), 1), 0);
    EXPECT_EQ(interrupted.get(), Holder::unknown);
    EXPECT_EQ(later.wait_for(0ms), std::future_status::timeout);
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
    std::future<Holder> later = startLater(10s);
    EXPECT_EQ(later.wait_for(50ms), std::future_status::timeout) << "who has the name may be about to listen";
    ASSERT_EQ(::listen(starting.number(), 8), 0);
    while (later.wait_for(1ms) == std::future_status::timeout) {
        const OpenDescriptor asking(::accept(starting.number(), nullptr, nullptr));
        ::send(asking.number(), "w", 1, MSG_NOSIGNAL);
    }
    EXPECT_EQ(later.get(), Holder::anotherThatShowsItsWindow);
}

TEST_F(AgentPlaceOfOneFolder, SaysWhichFolderCannotBeOpened) {
    EXPECT_EQ(failureOf([&] { const AgentPlace place(folder.at("missing")); }),
              "The file \"" + folder.at("missing") + "\" could not be opened: No such file or directory");
}

} // namespace veskline::testing
