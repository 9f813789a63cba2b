#pragma once

#include "platform/async/SerialExecutor.h"
#include "platform/async/Task.h"
#include "state/StoreFile.h"
#include "state/StorePlace.h"
#include "state/records/StoredSession.h"

#include <optional>
#include <string>
#include <string_view>

namespace veskline {

// Keeps the signed-in session across restarts: one StoredSession in one JSON file, pretty-printed with sorted keys and
// readable by the user alone, since the tokens stand in it in clear. Where that file does not exist, the session of the
// older desktop application is taken over by copying it.
//
// Owned by the model, shared with the hosted client and the coordinator; outlives both. Its operations run one after
// the other on executor(). What lies on the disk is what counts: the file is looked at each time, and read again where
// it may have changed. Each replacement of it is atomic, so a crash at any moment leaves the old
// session or the new one.
//
// Places in a folder that all users share count only where the file is this user's own (StorePlace): nobody else can
// plant a session.
class SessionStore {
public:
    // In AppPaths::sessionFile(), or where that cannot be, without a word, in vesk-session.json under `fallbackFolder`.
    [[nodiscard]] static StorePlace defaultPlace(std::string_view fallbackFolder = sharedTemporaryFolder);

    // At the application's own places, with `pool` to run on.
    explicit SessionStore(async::Executor pool);
    SessionStore(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyURL);

    [[nodiscard]] async::Executor executor() const noexcept { return serial_.executor(); }

    // The stored session. Absent where there is none, where the file holds something else (an empty file included; it
    // stays as it is and hides the older application's), and where it cannot be read at the moment. Throws nothing for
    // any content: a session that cannot be taken over is given all the same, and found again by the next call.
    [[nodiscard]] async::Task<std::optional<StoredSession>> load();

    // Replaces the stored session. Throws platform::FileError, or platform::JsonError for text that is no valid UTF-8;
    // the old file stays whole.
    async::Task<> save(StoredSession session);

    // Signs out: after this load() gives nothing, also where the older application's session still lies in its place,
    // which is not touched. Failures are dropped.
    async::Task<> clear();

private:
    void readAgain(const std::optional<platform::FileStamp>& stamp);
    void write(const StoredSession& session) const;
    void takeOver(const StoredSession& session) const;

    async::SerialExecutor serial_;
    StoreFile file_;
    std::optional<platform::FileStamp> lastStamp_; // of the file as it was read, if that can be told
    std::optional<StoredSession> lastSession_;     // in it
};

static_assert(async::Actor<SessionStore>);

} // namespace veskline
