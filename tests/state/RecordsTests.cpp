#include "platform/json/JsonObject.h"
#include "state/records/PublicConfig.h"
#include "state/records/RemoteFileRecord.h"
#include "state/records/RetryQueueItem.h"
#include "state/records/StoredSession.h"
#include "state/records/SyncMode.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace veskline {
namespace {

// What a document decodes to, encoded again; or the words of the failure.
template <class Record>
std::string roundTrip(std::string_view text) {
    try {
        return platform::encodeCompact(toJson(platform::decodeJson<Record>(text)));
    } catch (const platform::JsonError& error) {
        return error.what();
    }
}

TEST(SyncMode, HasRawValuesAndPauses) {
    EXPECT_EQ(rawValue(allCases.front()), "regular");
    EXPECT_EQ(fromRawValue("ultra"), SyncMode::ultra);
    EXPECT_EQ(fromRawValue("Ultra"), std::nullopt);
    EXPECT_EQ(processingDelayNanoseconds(SyncMode::regular), std::chrono::milliseconds(750));
    EXPECT_EQ(processingDelayNanoseconds(SyncMode::ultra), std::chrono::milliseconds(0));
    EXPECT_EQ(roundTrip<SyncMode>("\"ultra\""), "\"ultra\"");
    EXPECT_EQ(roundTrip<SyncMode>("\"fast\""), "The document is not one of the values that are known");
}

TEST(StoredSession, HasAUserWithAnIdOrNone) {
    const std::string tokens = R"({"access_token":"a","refresh_token":"r")";
    const std::string full = tokens + R"(,"user":{"email":"e","id":"u"}})";
    EXPECT_EQ(roundTrip<StoredSession>(full), full);
    EXPECT_EQ(roundTrip<StoredSession>(tokens + R"(,"user":null,"x":1})"), tokens + "}");
    EXPECT_EQ(roundTrip<StoredSession>(tokens + R"(,"user":{}})"), "The value of \"user.id\" is missing");
}

TEST(RetryQueueItem, UsesItsFieldNamesAndHasNoDefaults) {
    const char* full = R"({"attempts":2,"bytes":7,"lastError":"e","legacyStorageKey":"l","localPath":"/p",)"
                       R"("logicalPath":"p","mimeType":"m","sha256":"s","storageKey":"k","userID":"u"})";
    const std::string start = R"({"localPath":"/p","storageKey":"k",)";
    EXPECT_EQ(roundTrip<RetryQueueItem>(full), full);
    EXPECT_EQ(roundTrip<RetryQueueItem>(start + R"("attempts":0})"), "The value of \"bytes\" is missing");
    EXPECT_EQ(roundTrip<RetryQueueItem>(start + R"("bytes":0})"), "The value of \"attempts\" is missing");
}

TEST(RemoteFileRecord, ReadsAnySelectionOfColumns) {
    const char* full = R"({"bytes":7,"id":"f","ingest_error":"e","ingested_sha256":"i","is_deleted":true,"mime":"m",)"
                       R"("path":"p","sha256":"s","storage_bucket":"b","storage_key":"k","user_id":"u"})";
    EXPECT_EQ(roundTrip<RemoteFileRecord>(full), full);
    EXPECT_EQ(roundTrip<RemoteFileRecord>(R"({"id":"f"})"), R"({"id":"f"})");
    EXPECT_EQ(roundTrip<RemoteFileRecord>(R"({"path":"p"})"), "The value of \"id\" is missing");
}

TEST(PublicConfig, TakesDefaultsForWhatIsMissingAlone) {
    const std::string needed = R"({"DASHBOARD_URL":"https://d","SUPABASE_ANON_KEY":"",)";
    const std::string url = R"("SUPABASE_URL":"https://a.b")";
    const std::string zero = needed + R"("SUPABASE_FILES_BUCKET":"",)" + url + R"(,"VESK_MAX_UPLOAD_BYTES":0})";
    EXPECT_EQ(roundTrip<PublicConfig>(zero), zero);
    EXPECT_EQ(roundTrip<PublicConfig>(needed + url + "}"),
              needed + R"("SUPABASE_FILES_BUCKET":"files",)" + url + R"(,"VESK_MAX_UPLOAD_BYTES":5368709120})");
    EXPECT_EQ(roundTrip<PublicConfig>(needed + R"("SUPABASE_URL":"a.b"})"),
              "The value of \"SUPABASE_URL\" is not an absolute URL");
}

} // namespace
} // namespace veskline
