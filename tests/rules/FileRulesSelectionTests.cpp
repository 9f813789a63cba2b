#include "rules/FileRules.h"
#include "support/TemporaryFolder.h"
#include "support/Unprivileged.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace veskline {

namespace {

using Names = std::vector<std::string>;

Names sorted(const platform::PathList& paths, const TemporaryFolder& folder) {
    Names names;
    for (const std::string_view path : paths) {
        names.emplace_back(path.substr(folder.string().size() + 1));
    }
    std::ranges::sort(names);
    return names;
}

struct Kind {
    std::string_view url;
    bool isSupported;
    std::string_view mimeType;
};

constexpr std::string_view anyType = "application/octet-stream";
constexpr std::string_view wordType = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
const std::vector<Kind> kinds{
    {"/a/Report.PDF", true, "application/pdf"},
    {"/a/b.docx", true, wordType},
    {"/a/b.txt", true, "text/plain"},
    {"/a/notes.MD", true, "text/plain"},
    {"/a/b.csv", true, "text/csv"},
    {"/a/b.rtf", true, "application/rtf"},
    {"/a/b.ePub", true, "application/epub+zip"},
    {"/a/archive.zip", false, anyType},
    {"/a/b.pdf.bak", false, anyType},
    {"/a.txt/README", false, anyType},
    {"/a/pdf", false, anyType},
    {"/a/b.", false, anyType},
    {"/a/b. txt", false, anyType},
};

struct Skip {
    std::string_view url;
    std::string_view root;
    bool isSkipped;
};

const std::vector<Skip> skips{
    {"/r/a.txt", "/r", false},
    {"/r", "/r", false},
    {"/r/", "/r", false},
    {"/r/a/node_modules/b/c.txt", "/r", true},
    {"/r/Node_Modules/c.txt", "/r", false},
    {"/r/Music", "/r", true},
    {"/r/Photo Booth Library/x.txt", "/r/", true},
    {"/Users/ann/Library/Notes/a.txt", "/Users/ann/Library/Notes", false},
    {"/Users/ann/Library/Notes/a.txt", "/Users/ann", true},
    {"/home/ann/Library/a.txt", "/", true},
    {"/Library/a.txt", "/", true},
    {"/elsewhere/System/a.txt", "/r", true},
    {"/r/x/r/Music/a.txt", "/r", true},
    {"/r/DEBUG.LOG", "/r", true},
    {"/r/Old.photoslibrary", "/r", true},
    {"/r/Old.photoslibrary/a.txt", "/r", false}, // the walk never gets there
    {"/r/a.log.txt", "/r", false},
    {"/r/log", "/r", false},
    {"/r/.DS_Store", "/r", true},
    {"/r/.localized", "/r", true},
    {"/r/.ds_store", "/r", false},
    {"/r/DS_Store", "/r", false},
};

} // namespace

TEST(FileRules, KnowsDocumentsByTheirExtensionInAnyCase) {
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.url);
        EXPECT_EQ(FileRules::isSupported(kind.url), kind.isSupported);
        EXPECT_EQ(FileRules::mimeType(kind.url), kind.mimeType);
    }
}

TEST(FileRules, SkipsWhatTheListsNameBelowTheRoot) {
    for (const Skip& skip : skips) {
        EXPECT_EQ(FileRules::shouldSkip(skip.url, skip.root), skip.isSkipped) << skip.url << " under " << skip.root;
    }
}

TEST(FileRules, SortsAFolderIntoDocumentsAndTheRest) {
    const TemporaryFolder folder;
    Names documents{"Library/Notes/a.txt", "Library/Notes/Report.PDF", "Library/Notes/b/Node_Modules/c.md",
                    "Library/Notes/b/100% #1? \"x\"\n.csv", "Library/Notes/" + std::string(251, 'n') + ".txt"};
    Names others{"Library/Notes/archive.zip", "Library/Notes/README", "Library/Notes/b/caf\xE9.txt",
                 "Library/Notes/b/\xFF/plain.txt"};
    for (const Names& names : {documents, others}) {
        for (const std::string& name : names) {
            folder.write(name, "");
        }
    }
    for (const char* name : {"debug.log", ".env.txt", "Music", ".hidden/a.txt", "b/node_modules/deep/a.txt",
                             "b/Library/a.txt", "Old.PhotosLibrary/a.txt"}) {
        folder.write("Library/Notes/" + std::string(name), "");
    }
    const std::string root = folder.at("Library/Notes");
    ASSERT_EQ(::symlink("a.txt", (root + "/link.txt").c_str()), 0);
    std::ranges::sort(documents);
    std::ranges::sort(others);
    for (const char* slashes : {"", "/", "//"}) {
        const FileEnumerationResult result = FileRules::enumerateFiles(root + slashes);
        EXPECT_EQ(sorted(result.supportedFiles, folder), documents);
        EXPECT_EQ(sorted(result.unsupportedFiles, folder), others);
        EXPECT_TRUE(result.unavailableFolders.empty());
        ASSERT_EQ(result.fileSystems.size(), 1U);
        EXPECT_EQ(result.fileSystems[0].path, root);
    }
    EXPECT_EQ(sorted(FileRules::listFiles(root), folder), documents);
}

TEST(FileRules, TellsWhichFoldersItCouldNotSee) {
    const TemporaryFolder folder;
    const std::string file = folder.write("root/a.txt", "");
    const std::string closed = folder.makeFolder("root/closed");
    folder.makeFolder("root/.hidden");
    const testing::Unprivileged here(folder.path());
    ASSERT_EQ(::chmod(closed.c_str(), 0), 0);
    ASSERT_EQ(::chmod(folder.at("root/.hidden").c_str(), 0), 0);

    using Unavailable = std::vector<UnavailableFolder>;
    EXPECT_EQ(FileRules::enumerateFiles(folder.at("root")).unavailableFolders,
              (Unavailable{{.path = closed, .reason = "Permission denied"}}));
    const FileEnumerationResult gone = FileRules::enumerateFiles(folder.at("gone"));
    EXPECT_TRUE(gone.supportedFiles.empty() && gone.unsupportedFiles.empty() && gone.fileSystems.empty());
    EXPECT_EQ(gone.unavailableFolders,
              (Unavailable{{.path = folder.at("gone"), .reason = "No such file or directory"}}));
    EXPECT_EQ(FileRules::enumerateFiles(file).unavailableFolders,
              (Unavailable{{.path = file, .reason = "Not a directory"}}));
    const std::atomic<bool> stop = true;
    EXPECT_EQ(FileRules::enumerateFiles(folder.at("root"), &stop).unavailableFolders,
              (Unavailable{{.path = folder.at("root"), .reason = "the listing was broken off"}}));
}

} // namespace veskline
