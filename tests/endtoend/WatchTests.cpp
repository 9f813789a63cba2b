#include "endtoend/AgentFixture.h"

#include "rules/FileRules.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <thread>

using namespace veskline;
using veskline::testing::Program;
namespace fs = std::filesystem;

namespace {

void put(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

// Something that a user does to a folder: what lies there before, and the deed. Both get the case's own root, and a
// place outside all roots.
struct Deed {
    const char* name;
    std::function<void(const fs::path& root, const fs::path& outside)> prepare;
    std::function<void(const fs::path& root, const fs::path& outside)> act;
};

const Deed deeds[] = {
    {"create", [](auto&, auto&) {}, [](auto& root, auto&) { put(root / "new.txt", "new"); }},
    {"change", [](auto& root, auto&) { put(root / "a.txt", "a"); },
     [](auto& root, auto&) { put(root / "a.txt", "b"); }},
    {"touch", [](auto& root, auto&) { put(root / "a.txt", "a"); },
     [](auto& root, auto&) { fs::last_write_time(root / "a.txt", fs::file_time_type::clock::now()); }},
    {"rename", [](auto& root, auto&) { put(root / "a.txt", "a"); },
     [](auto& root, auto&) { fs::rename(root / "a.txt", root / "b.txt"); }},
    {"over",
     [](auto& root, auto&) {
         put(root / "a.txt", "a");
         put(root / "b.txt", "of another size");
     },
     [](auto& root, auto&) { fs::rename(root / "a.txt", root / "b.txt"); }},
    {"delete",
     [](auto& root, auto&) {
         put(root / "a.txt", "a");
         put(root / "b.txt", "b");
     },
     [](auto& root, auto&) { fs::remove(root / "a.txt"); }},
    {"move a folder in",
     [](auto&, auto& outside) {
         put(outside / "in/deep/a.txt", "a");
         put(outside / "in/b.md", "b");
     },
     [](auto& root, auto& outside) { fs::rename(outside / "in", root / "in"); }},
    {"move a folder out",
     [](auto& root, auto&) {
         put(root / "out/a.txt", "a");
         put(root / "b.txt", "b");
     },
     [](auto& root, auto& outside) { fs::rename(root / "out", outside / "out"); }},
    {"make and fill a folder", [](auto&, auto&) {}, [](auto& root, auto&) { put(root / "x/y/z/a.txt", "a"); }},
    {"unpack 5000 files", [](auto&, auto&) {},
     [](auto& root, auto&) {
         for (int i = 0; i < 5000; ++i) {
             put(root / std::to_string(i % 50) / (std::to_string(i) + ".txt"), std::to_string(i));
         }
     }},
    {"an editor's save", [](auto& root, auto&) { put(root / "a.txt", "a"); },
     [](auto& root, auto&) {
         put(root / ".a.txt.swp", "edited");
         fs::rename(root / ".a.txt.swp", root / "a.txt");
     }},
    {"an unsupported file", [](auto&, auto&) {}, [](auto& root, auto&) { put(root / "photo.png", "p"); }},
};

class Watch : public veskline::testing::AgentFixture {
protected:
    // What lies on the disk in all roots: the digest of each supported file, by its path in the hosted table, with the
    // root's name to tell them apart.
    static std::multiset<std::pair<std::string, std::string>> onDisk(const std::vector<std::string>& roots) {
        std::multiset<std::pair<std::string, std::string>> files;
        for (const std::string& each : roots) {
            const FileEnumerationResult found = FileRules::enumerateFiles(each);
            for (const std::string_view path : found.supportedFiles) {
                files.emplace(FileRules::logicalPath(path, each), FileRules::sha256Hex(std::string(path)));
            }
        }
        return files;
    }
    std::multiset<std::pair<std::string, std::string>> onHostedSide() {
        std::multiset<std::pair<std::string, std::string>> files;
        const nlohmann::json state = project.state();
        for (const auto& file : state.at("files")) {
            if (!file.at("is_deleted")) {
                files.emplace(file.at("path"), file.at("sha256"));
            }
        }
        return files;
    }
    // What one side has and the other has not, for the words of a failure.
    std::string difference(const std::vector<std::string>& roots) {
        const auto disk = onDisk(roots);
        const auto hosted = onHostedSide();
        std::vector<std::pair<std::string, std::string>> differing;
        std::ranges::set_symmetric_difference(disk, hosted, std::back_inserter(differing));
        return differing.empty() ? "none"
                                 : differing.front().first + " and " + std::to_string(differing.size() - 1) + " others";
    }
    // Patient: the change stream and the debounce take real seconds in the built program.
    bool becomesLevel(const std::vector<std::string>& roots) {
        const auto end = std::chrono::steady_clock::now() + Program::patience;
        while (onHostedSide() != onDisk(roots)) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return true;
    }
};

} // namespace

TEST_F(Watch, BringsEveryDeedOverWithOneRescanOfItsRoot) {
    std::vector<std::string> roots;
    const auto outside = [&](const Deed& deed) { return folder.path() / "outside" / deed.name; };
    for (const Deed& deed : deeds) {
        roots.push_back(folder.makeFolder(std::string("roots/") + deed.name));
        fs::create_directories(outside(deed));
        deed.prepare(roots.back(), outside(deed));
    }
    const std::string from = folder.makeFolder("roots/move from");
    const std::string to = folder.makeFolder("roots/to");
    put(from + "/moved.txt", "moved");
    roots.insert(roots.end(), {from, to});
    setUp("ultra", roots);
    const std::unique_ptr<Program> agent = startAgent();
    ASSERT_TRUE(agent->waitForLine("Watching "));
    ASSERT_EQ(onHostedSide(), onDisk(roots));

    for (std::size_t i = 0; i < std::size(deeds); ++i) {
        deeds[i].act(roots[i], outside(deeds[i]));
    }
    fs::rename(from + "/moved.txt", to + "/moved.txt");

    for (const std::string& each : roots) {
        SCOPED_TRACE(each);
        EXPECT_TRUE(agent->waitForLine("Rescan: " + each));
    }
    EXPECT_TRUE(becomesLevel(roots)) << difference(roots);
    EXPECT_TRUE(agent->waitForLine("Summary: ", 2 * roots.size())) << "every rescan has ended";
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->wait(), 0);
    for (const std::string& each : roots) {
        const std::vector<std::string> lines = agent->output();
        EXPECT_EQ(std::ranges::count(lines, "Rescan: " + each), 1) << each;
    }
}
