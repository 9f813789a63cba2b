#include "rules/FileRules.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace veskline;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(FileRules, KnowsDocumentsByTheirExtensionInAnyCase) {
    constexpr std::string_view word = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
    const std::pair<std::string_view, std::string_view> documents[] = {
        {"/a/Report.PDF", "application/pdf"},  {"/a/b.docx", word},      {"/a/b.txt", "text/plain"},
        {"/a/notes.MD", "text/plain"},         {"/a/b.csv", "text/csv"}, {"/a/b.rtf", "application/rtf"},
        {"/a/b.ePub", "application/epub+zip"},
    };
    for (const auto& [url, mimeType] : documents) {
        EXPECT_TRUE(FileRules::isSupported(url)) << url;
        EXPECT_EQ(FileRules::mimeType(url), mimeType);
    }
    for (const char* url : {"/a/b.zip", "/a/b.pdf.bak", "/a.txt/README", "/a/pdf", "/a/b.", "/a/b. txt"}) {
        EXPECT_FALSE(FileRules::isSupported(url)) << url;
        EXPECT_EQ(FileRules::mimeType(url), "application/octet-stream");
    }
}

TEST(FileRules, SkipsWhatTheListsNameBelowTheRoot) {
    using Row = std::pair<std::string_view, std::string_view>;
    for (const auto& [url, root] :
         {Row{"/r/a/node_modules/b/c.txt", "/r"}, Row{"/r/Music", "/r"}, Row{"/r/Photo Booth Library/x.txt", "/r/"},
          Row{"/Users/ann/Library/Notes/a.txt", "/Users/ann"}, Row{"/home/ann/Library/a.txt", "/"},
          Row{"/elsewhere/System/a.txt", "/r"}, Row{"/r/x/r/Music/a.txt", "/r"}, Row{"/r/DEBUG.LOG", "/r"},
          Row{"/r/Old.photoslibrary", "/r"}, Row{"/r/.DS_Store", "/r"}, Row{"/r/.localized", "/r"}}) {
        EXPECT_TRUE(FileRules::shouldSkip(url, root)) << url << " under " << root;
    }
    for (const auto& [url, root] : {Row{"/r/a.txt", "/r"}, Row{"/r", "/r"}, Row{"/r/", "/r"},
                                    Row{"/r/Node_Modules/c.txt", "/r"}, Row{"/r/a.log.txt", "/r"}, Row{"/r/log", "/r"},
                                    Row{"/r/Old.photoslibrary/a.txt", "/r"}, // the walk never gets there
                                    Row{"/Users/ann/Library/Notes/a.txt", "/Users/ann/Library/Notes"},
                                    Row{"/r/.ds_store", "/r"}, Row{"/r/DS_Store", "/r"}}) {
        EXPECT_FALSE(FileRules::shouldSkip(url, root)) << url << " under " << root;
    }
}

TEST(FileRules, SortsAFolderIntoDocumentsAndTheRest) {
    const TemporaryFolder folder;
    const std::string root = folder.at("Library/Notes");
    const auto write = [&](const Names& names) {
        Names paths;
        for (const std::string& name : names) {
            paths.push_back(folder.write("Library/Notes/" + name, ""));
        }
        std::ranges::sort(paths);
        return paths;
    };
    const Names documents = write({"a.txt", "Report.PDF", "b/Node_Modules/c.md", "b/100% #1? \"x\"\n.csv"});
    const Names others = write({"archive.zip", "README", "b/caf\xE9.txt", "b/\xFF/plain.txt"});
    write({"debug.log", ".env.txt", "Music", ".hidden/a.txt", "b/node_modules/deep/a.txt", "b/Library/a.txt",
           "Old.PhotosLibrary/a.txt"});
    for (const char* slashes : {"", "/", "//"}) {
        FileEnumerationResult result = FileRules::enumerateFiles(root + slashes);
        result.supportedFiles.sort();
        result.unsupportedFiles.sort();
        EXPECT_TRUE(std::ranges::equal(result.supportedFiles, documents));
        EXPECT_TRUE(std::ranges::equal(result.unsupportedFiles, others));
        EXPECT_TRUE(result.unavailableFolders.empty());
        ASSERT_EQ(result.fileSystems.size(), 1U);
        EXPECT_EQ(result.fileSystems[0].path, root);
    }
    EXPECT_EQ(FileRules::listFiles(root).size(), documents.size());
}

TEST(FileRules, TellsWhichFoldersItCouldNotSee) {
    const TemporaryFolder folder;
    const std::string file = folder.write("root/a.txt", "");
    const std::string closed = folder.makeFolder("root/closed");
    const std::string hidden = folder.makeFolder("root/.hidden");
    const veskline::testing::Unprivileged user(folder.path());
    fs::permissions(closed, fs::perms::none);
    fs::permissions(hidden, fs::perms::none);
    const auto unavailable = [](const std::string& root, bool isStopped = false) {
        const std::atomic<bool> stop = isStopped;
        return FileRules::enumerateFiles(root, &stop).unavailableFolders;
    };
    using Expected = std::vector<UnavailableFolder>;
    EXPECT_EQ(unavailable(folder.at("root")), (Expected{{closed, "Permission denied"}}));
    EXPECT_EQ(unavailable(folder.at("gone")), (Expected{{folder.at("gone"), "No such file or directory"}}));
    EXPECT_EQ(unavailable(file), (Expected{{file, "Not a directory"}}));
    EXPECT_EQ(unavailable(folder.at("root"), true), (Expected{{folder.at("root"), "the listing was broken off"}}));
}
