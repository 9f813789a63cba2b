#include "sync/AttributesAhead.h"

#include "platform/async/Clock.h"
#include "platform/async/ThreadPool.h"
#include "platform/files/FileAttributes.h"
#include "rules/FileRules.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

using namespace veskline;
using platform::findFileAttributes;
namespace fs = std::filesystem;

namespace {

class AttributesAheadTest : public ::testing::Test {
protected:
    // Folders of many files, of few and of none, some with names that sort among the files beside them.
    void writeDocuments() {
        for (int file = 0; file < 10'000; ++file) {
            const int place = file % 1'000 < 400 ? 0 : file / 7;
            const std::string name = "b" + std::to_string(place) + (file % 3 == 0 ? "/c/" : "/") + std::to_string(file);
            folder.write(name + ".md", std::string(static_cast<std::size_t>(file % 100), 'x'));
        }
        folder.write("b0.md", "a file before the folder b0/");
        files = FileRules::listFiles(folder.string());
        files.sort();
    }

    // A clock on which nothing takes long, or every look does.
    async::Clock clock(std::chrono::milliseconds step = {}) {
        static constexpr async::Clock::Operations operations{
            .now = [](const void* time) { return static_cast<const SteppingTime*>(time)->next(); }};
        time.step = step;
        return {operations, &time};
    }
    struct SteppingTime {
        async::Instant next() const { return now += step; }
        mutable async::Instant now;
        std::chrono::milliseconds step{0};
    };

    TemporaryFolder folder;
    SteppingTime time;
    async::ThreadPool pool;
    platform::PathList files;
};

} // namespace

TEST_F(AttributesAheadTest, AreThoseOfEachFileBesideItsPath) {
    writeDocuments();
    fs::remove(folder.at("b0/1.md"));
    fs::create_symlink(folder.at("b0.md"), folder.at("b0/1.md"));
    fs::remove(folder.at("b0/2.md"));
    fs::remove_all(folder.at("b58"));
    AttributesAhead ahead(files, pool.executor(), clock());
    int missing = 0;
    for (std::size_t index = 0; index < files.size(); ++index) {
        ASSERT_EQ(ahead.of(index), findFileAttributes(files.cString(index))) << files[index];
        missing += ahead.of(index) ? 0 : 1;
    }
    EXPECT_GT(missing, 1);
    EXPECT_EQ(files.size(), 10'001U);
}

TEST_F(AttributesAheadTest, AreReadAnewOnceTimeHasPassed) {
    writeDocuments();
    AttributesAhead ahead(files, pool.executor(), clock());
    for (std::size_t index = 0; index < 5'000; ++index) {
        (void)ahead.of(index);
    }
    for (const std::size_t index : {std::size_t{5'000}, std::size_t{5'001}, std::size_t{5'002}}) {
        fs::resize_file(files[index], 1'000 + index);
        ahead.forget();
        EXPECT_EQ(ahead.of(index)->bytes, static_cast<std::int64_t>(1'000 + index));
    }
}

TEST_F(AttributesAheadTest, AreNotReadFarAheadWhereThatTakesLong) {
    writeDocuments();
    AttributesAhead ahead(files, pool.executor(), clock(std::chrono::milliseconds(50)));
    for (std::size_t index = 0; index < 100; ++index) {
        (void)ahead.of(index);
        fs::resize_file(files[index + 1], 1'000 + index);
    }
    EXPECT_EQ(ahead.of(100)->bytes, 1'099);
}
