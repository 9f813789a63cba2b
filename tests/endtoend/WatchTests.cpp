#include "endtoend/AgentFixture.h"

#include "rules/FileRules.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

using namespace veskline;
using veskline::testing::Program;
namespace fs = std::filesystem;

namespace {

void put(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

// Something that a user does to a folder: what lies there before in the case's own root and in a place outside all
// roots, each with its path for content, and the deed.
struct Deed {
    const char* name;
    std::vector<std::string> before;
    std::function<void(const fs::path& root, const fs::path& outside)> act;
};

const Deed deeds[] = {
    {"create", {}, [](auto& root, auto&) { put(root / "new.txt", "new"); }},
    {"change", {"root/a.txt"}, [](auto& root, auto&) { put(root / "a.txt", "b"); }},
    {"touch",
     {"root/a.txt"},
     [](auto& root, auto&) { fs::last_write_time(root / "a.txt", fs::file_time_type::clock::now()); }},
    {"rename", {"root/a.txt"}, [](auto& root, auto&) { fs::rename(root / "a.txt", root / "b.txt"); }},
    {"over",
     {"root/a.txt", "root/another.txt"},
     [](auto& root, auto&) { fs::rename(root / "a.txt", root / "another.txt"); }},
    {"delete", {"root/a.txt", "root/b.txt"}, [](auto& root, auto&) { fs::remove(root / "a.txt"); }},
    {"move a folder in",
     {"outside/in/deep/a.txt", "outside/in/b.md"},
     [](auto& root, auto& outside) { fs::rename(outside / "in", root / "in"); }},
    {"move a folder out",
     {"root/out/a.txt", "root/b.txt", "outside/c.txt"},
     [](auto& root, auto& outside) { fs::rename(root / "out", outside / "out"); }},
    {"make and fill a folder", {}, [](auto& root, auto&) { put(root / "x/y/z/a.txt", "a"); }},
    {"unpack 5000 files",
     {},
     [](auto& root, auto&) {
         for (int i = 0; i < 5000; ++i) {
             put(root / std::to_string(i % 50) / (std::to_string(i) + ".txt"), std::to_string(i));
         }
     }},
    {"an editor's save",
     {"root/a.txt"},
     [](auto& root, auto&) {
         put(root / ".a.txt.swp", "edited");
         fs::rename(root / ".a.txt.swp", root / "a.txt");
     }},
    {"an unsupported file", {}, [](auto& root, auto&) { put(root / "photo.png", "p"); }},
    {"move to another root",
     {"root/moved.txt"},
     [](auto& root, auto&) { fs::rename(root / "moved.txt", root / "../../receive/root/moved.txt"); }},
    {"receive", {}, [](auto&, auto&) {}},
};

class Watch : public veskline::testing::AgentFixture {
protected:
    // The supported files in all roots.
    static Documents onDisk(const std::vector<std::string>& roots) {
        Documents documents;
        for (const std::string& each : roots) {
            const FileEnumerationResult found = FileRules::enumerateFiles(each);
            for (const std::string_view path : found.supportedFiles) {
                documents.emplace(FileRules::logicalPath(path, each), FileRules::sha256Hex(std::string(path)));
            }
        }
        return documents;
    }
    // Patient: the change stream and the debounce take real seconds in the built program.
    void waitUntilHosted(const Documents& documents) {
        const auto end = std::chrono::steady_clock::now() + Program::patience;
        while (hosted() != documents && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_EQ(hosted(), documents);
    }
};

} // namespace

TEST_F(Watch, BringsEveryDeedOverWithOneRescanOfItsRoot) {
    std::vector<std::string> roots;
    for (const Deed& deed : deeds) {
        const fs::path place = folder.path() / "deeds" / deed.name;
        roots.push_back(place / "root");
        fs::create_directories(roots.back());
        for (const std::string& name : deed.before) {
            put(place / name, name);
        }
    }
    setUp(roots);
    const std::unique_ptr<Program> agent = start();
    ASSERT_TRUE(agent->waitForLine("Watching "));
    ASSERT_EQ(hosted(), onDisk(roots));

    for (std::size_t i = 0; i < roots.size(); ++i) {
        deeds[i].act(roots[i], fs::path(roots[i]).parent_path() / "outside");
    }

    for (const std::string& each : roots) {
        EXPECT_TRUE(agent->waitForLine("Rescan: " + each)) << each;
    }
    waitUntilHosted(onDisk(roots));
    EXPECT_TRUE(agent->waitForLine("Summary: ", 2 * roots.size())) << "every rescan has ended";
    EXPECT_EQ(end(*agent), 0);
    for (const std::string& each : roots) {
        EXPECT_EQ(std::ranges::count(agent->output(), "Rescan: " + each), 1) << each;
    }
}
