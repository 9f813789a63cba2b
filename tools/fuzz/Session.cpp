#include "Target.h"
#include "simulation/OneThread.h"
#include "state/SessionStore.h"
#include "support/TemporaryFolder.h"

#include <string>

namespace veskline::fuzz {

namespace {

class Sessions {
public:
    [[nodiscard]] std::optional<StoredSession> load() {
        return thread_.run([this] { return store_.load(); });
    }
    void save(const StoredSession& session) {
        thread_.run([this, &session] { return store_.save(session); });
    }
    void clear() {
        thread_.run([this] { return store_.clear(); });
    }
    void removeOwn() const { std::filesystem::remove(folder_.path() / own); }
    void writeOwn(std::string_view bytes) const { folder_.write(own, bytes); }
    void writeLegacy(std::string_view bytes) const { folder_.write(legacy, bytes); }
    [[nodiscard]] std::string ownBytes() const { return folder_.read(own); }

private:
    static constexpr const char* own = "session.json";
    static constexpr const char* legacy = "older.json";

    TemporaryFolder folder_;
    testing::OneThread thread_;
    SessionStore store_{thread_.executor(), StorePlace{.path = folder_.at(own)}, folder_.at(legacy)};
};

} // namespace

// The session file of this application, and then that of the older one.
void check(std::string_view input) {
    static Sessions sessions;
    sessions.writeOwn(input);
    sessions.writeLegacy("{}");
    const std::optional<StoredSession> session = sessions.load();
    require(sessions.ownBytes() == input, "reading changes nothing");

    sessions.removeOwn();
    sessions.writeLegacy(input);
    require(sessions.load() == session, "the older application's file reads the same");
    const std::string taken = sessions.ownBytes();
    require(taken.empty() == !session, "a session is taken over, and nothing else");
    if (session) {
        require(sessions.load() == session, "a session that was taken over is the same");
        sessions.save(*session);
        require(sessions.ownBytes() == taken, "one session is written in one way");
    }
    sessions.clear();
    require(!sessions.load(), "who signed out stays signed out");
}

} // namespace veskline::fuzz
