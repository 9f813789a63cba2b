#include "state/SessionStore.h"

#include "platform/files/FileError.h"
#include "platform/json/JsonObject.h"
#include "state/AppPaths.h"

#include <nlohmann/json.hpp>

#include <cassert>
#include <utility>

namespace veskline {

namespace {

// A session is a few kilobytes.
constexpr std::size_t mostBytes = std::size_t{4} << 20U;

std::optional<StoreFile::Content> readOrNothing(const StoreFile& file) {
    try {
        return file.read();
    } catch (const platform::FileError&) {
        return std::nullopt;
    }
}

std::optional<StoredSession> decode(std::string_view bytes) {
    try {
        return platform::decodeJson<StoredSession>(bytes);
    } catch (const platform::JsonError&) {
        return std::nullopt;
    }
}

} // namespace

StorePlace SessionStore::defaultPlace(std::string_view fallbackFolder) {
    return placeOrFallback(&AppPaths::sessionFile, "vesk-session.json", fallbackFolder);
}

SessionStore::SessionStore(async::Executor pool) : SessionStore(pool, defaultPlace(), AppPaths::legacySessionFile()) {}

SessionStore::SessionStore(async::Executor pool, const StorePlace& url, std::optional<std::string> legacyURL)
    : serial_(pool), file_(url, std::move(legacyURL), mostBytes) {}

// Every request asks for the session, and hardly ever has it changed.
async::Task<std::optional<StoredSession>> SessionStore::load() {
    const std::optional<platform::FileStamp> stamp = file_.stamp();
    if (!stamp || stamp != lastStamp_) {
        readAgain(stamp);
    }
    co_return lastSession_;
}

// A failure and the older application's file are no reading of the file that the stamp is of.
void SessionStore::readAgain(const std::optional<platform::FileStamp>& stamp) {
    assert(executor().isCurrent());
    const std::optional<StoreFile::Content> content = readOrNothing(file_);
    const bool isOwn = content && !content->isLegacy;
    lastSession_ = content ? decode(content->bytes) : std::nullopt;
    lastStamp_ = isOwn && stamp && stamp->showsNextChange() ? stamp : std::nullopt;
    if (lastSession_ && !isOwn) {
        takeOver(*lastSession_);
    }
}

async::Task<> SessionStore::save(StoredSession session) {
    write(session);
    co_return;
}

async::Task<> SessionStore::clear() {
    file_.clear();
    lastStamp_.reset();
    lastSession_.reset();
    co_return;
}

void SessionStore::write(const StoredSession& session) const {
    assert(executor().isCurrent());
    file_.replace(platform::encodePretty(toJson(session)));
}

void SessionStore::takeOver(const StoredSession& session) const {
    try {
        write(session);
    } catch (const platform::FileError&) {
        return; // the older file is still there to be read again
    }
}

} // namespace veskline
