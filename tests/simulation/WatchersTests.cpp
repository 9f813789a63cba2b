#include "simulation/Ledger.h"
#include "simulation/LogOrder.h"
#include "simulation/OneThread.h"
#include "simulation/QueueWatch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace veskline;
using namespace veskline::simulation;
using Lines = std::vector<std::string>;

// What the promises' own watchers make of an engine that breaks them.

namespace {

std::size_t violationsOf(const Lines& lines) {
    Findings findings;
    LogOrder order({"/a", "/b"}, findings);
    order.startAsked();
    for (const std::string& line : lines) {
        order.read(line);
    }
    return findings.violations.size();
}

const Lines wholeStart{"Starting sync (ultra)...",
                       "Folders: /a, /b",
                       "Performing initial scan...",
                       "Initial scan: /a",
                       "Summary: none.",
                       "Initial scan: /b",
                       "Summary: none.",
                       "Initial scan complete",
                       "Watching /a, /b ...",
                       "Rescan: /a",
                       "Summary: none.",
                       "Sync stopped."};

std::string queueOf(const Lines& names) {
    std::string text = "[";
    for (const std::string& name : names) {
        const std::string user = name.substr(0, 3);
        text += std::string(text.size() > 1 ? "," : "") + R"({"localPath":"/)" + name +
                R"(","storageKey":"k","bytes":1,)" + R"("attempts":0,"userID":")" + user + "\"}";
    }
    return text + "]";
}

} // namespace

TEST(LogOrder, AcceptsAWholeStartAndNoOtherOrder) {
    EXPECT_EQ(violationsOf(wholeStart), 0U);
    for (std::size_t i = 0; i + 1 < wholeStart.size(); ++i) {
        if (wholeStart[i].starts_with("Summary: ") || wholeStart[i].starts_with("Rescan: ")) {
            continue; // the end of a scan has no fixed place
        }
        Lines twice = wholeStart;
        twice.insert(twice.begin() + static_cast<std::ptrdiff_t>(i), wholeStart[i]);
        EXPECT_NE(violationsOf(twice), 0U) << wholeStart[i];
        Lines afterTheEnd = wholeStart;
        afterTheEnd.push_back(wholeStart[i]);
        EXPECT_EQ(violationsOf(afterTheEnd) == 0, i == 0) << wholeStart[i];
    }
}

TEST(QueueWatch, SeesAnItemThatIsLost) {
    Findings findings;
    QueueWatch watch(findings);
    watch.fileBecame(queueOf({"ann1", "bob1"}));
    watch.fileBecame(queueOf({"ann1", "bob1", "ann1"}));
    EXPECT_TRUE(findings.violations.empty());
    watch.fileBecame(queueOf({"ann1", "bob1"}));
    EXPECT_EQ(findings.violations, Lines{"the queue loses no item: k of ann"});
    watch.drainBegins("ann");
    watch.fileBecame(queueOf({"bob1"}));
    EXPECT_EQ(findings.violations.size(), 1U) << "a drain takes its own user's";
    watch.fileBecame(queueOf({"bob1", "bob2"}));
    watch.fileBecame(queueOf({"bob1"}));
    EXPECT_EQ(findings.allowed.size(), 1U) << "appended meanwhile";
    watch.fileBecame(queueOf({}));
    EXPECT_EQ(findings.violations.size(), 2U) << "another user's";
    watch.fileBecame("[{");
    EXPECT_EQ(findings.violations.size(), 3U) << "half a file";
    watch.drainEnds();
    watch.uploadFailed("/bob2", "Supabase request failed with status 500");
    EXPECT_EQ(findings.violations.size(), 3U) << "its item was there";
    watch.uploadFailed("/bob2", "Not authenticated");
    EXPECT_EQ(findings.violations.size(), 3U) << "leaves none";
    watch.uploadFailed("/bob2", "The connection broke");
    EXPECT_EQ(findings.violations.size(), 4U) << "it never came";
}

TEST(Ledger, SeesARowThatIsWrittenTooEarlyOrDroppedWithoutCause) {
    veskline::testing::OneThread thread;
    veskline::testing::InProcessProject project(thread.executor());
    Findings findings;
    Ledger ledger(project, findings);
    project.signIn("ann");
    const std::string root = std::filesystem::temp_directory_path().string() + "/there is no such folder";
    const FileStateRow row{.path = root + "/a.txt", .rootPath = root, .storageKey = "user-ann/a", .sha256 = "digest"};
    project.objects[row.storageKey] = "content";
    project.files[row.storageKey] = {.id = "1", .storageKey = row.storageKey, .sha256 = row.sha256};
    ledger.carriedOut("POST /rest/v1/files", row.storageKey);
    ledger.rowsBecame({{row.path, row}});
    EXPECT_EQ(findings.violations, Lines{"the state row is written last: " + row.path}) << "there is no job";
    ledger.scanBegins(root);
    ledger.carriedOut("PATCH /rest/v1/files", row.storageKey);
    ledger.rowsBecame({});
    EXPECT_EQ(findings.violations.size(), 3U) << "a root that is not there has no deleted files";
}
