#include "platform/files/FileError.h"
#include "rules/FileRules.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unicode/locid.h>

using namespace veskline;

TEST(FileRules, CleansSegmentsToLettersNumbersAndHyphens) {
    const std::pair<std::string_view, std::string_view> segments[] = {
        {"Client Notes", "client-notes-f2de9572"},
        {"Q3 R\u00E9port (final).PDF", "q3-report-final-000dd3af.PDF"},
        {"archive.tar.gz", "archive-tar-e2ff6326.gz"},
        {"Notes_v2 - copy.docx", "notes-v2-copy-42f64523.docx"},
        {"(((.txt", "file-aac68f57.txt"},
        {"\u65E5\u672C\u8A9E.md", "\u65E5\u672C\u8A9E-d612b4cc.md"},
        {"2024", "2024-07811dc6"},
        {"README", "readme-c47c7c73"},
        {"", "file-d41d8cd9"},
        {"a.", "a-9fbcccf4"},
        {".hidden", "hidden-6b96ab44"},
        {"---a--b---", "a-b-9b775f5a"},
        {"\u00E9.txt", "e-814a3238.txt"},
        {"e\u0301.txt", "e-515ec3f7.txt"},
        {"\uD55C\uAE00.md", "\uD55C\uAE00-2eebb8f9.md"},
        {"\u1112\u1161\u11AB\u1100\u1173\u11AF.md", "\uD55C\uAE00-0d5003d1.md"},
        {"\u304C.md", "\u304B-8fd27fea.md"},
        {"\u304B\u3099.md", "\u304B-e680d577.md"},
        {"\u0915\u093F\u20AC\u0663\u00BD", "\u0915\u093F-\u0663\u00BD-aca2a7b4"},
        {"\U0001F468\u200D\U0001F469 trip\r\n.txt", "trip-26e690d9.txt"},
        {"Stra\u00DFe \uFB01.md", "strasse-fi-48dc9f1c.md"},
        {"\u039F\u03B4\u03CC\u03C2", "\u03BF\u03B4\u03BF\u03C3-8bcfac35"},
        {"A\xFF"
         "b",
         "a-b-068a6424"},
        {"name. txt", "name-1619428e. txt"},
    };
    for (const auto& [segment, safe] : segments) {
        EXPECT_EQ(FileRules::safeSegment(segment), safe);
    }
}

TEST(FileRules, FoldsSegmentsByTheCurrentLocale) {
    const icu::Locale usual = icu::Locale::getDefault();
    UErrorCode status = U_ZERO_ERROR;
    for (const auto& [locale, key] :
         {std::pair("tr_TR", "\u0131nbox-7e33429f"), std::pair("az_Latn_AZ", "\u0131nbox-7e33429f"),
          std::pair("en_TR", "inbox-7e33429f")}) {
        icu::Locale::setDefault(icu::Locale(locale), status);
        EXPECT_EQ(FileRules::safeSegment("INBOX"), key) << locale;
        EXPECT_EQ(FileRules::safeSegment("\u0130zmir"), "izmir-41585da4") << locale;
    }
    icu::Locale::setDefault(usual, status);
}

TEST(FileRules, TagsAFolderByItsStandardisedPath) {
    EXPECT_EQ(FileRules::rootTag("/Users/ann/Documents"), "4ec4d866");
    EXPECT_EQ(FileRules::rootTag("/"), "6666cd76");
    for (const char* same : {"/a/b", "/a/./b", "/a/b/", "/../a//c/../b"}) {
        EXPECT_EQ(FileRules::rootTag(same), "aee31d71") << same;
    }
}

TEST(FileRules, CutsEveryOccurrenceOfTheRootFromTheLogicalPath) {
    struct Row {
        std::string_view url, root, path;
    };
    for (const auto& [url, root, path] :
         {Row{"/Users/ann/Documents/Client Notes/a.txt", "/Users/ann/Documents", "Client Notes/a.txt"},
          Row{"/Users/ann/Documents/a.txt", "/Users/ann/Documents/", "a.txt"},
          Row{"/a/b/x/a/b/y.txt", "/a/b", "xy.txt"}, Row{"/ab/c.txt", "/a", "/ab/c.txt"},
          Row{"/Users/ann/a.txt", "/", "/Users/ann/a.txt"}, Row{"/a", "/a", "/a"}}) {
        EXPECT_EQ(FileRules::logicalPath(url, root), path) << url << " under " << root;
    }
}

TEST(FileRules, BuildsKeysOfBothForms) {
    const std::string user = "8c1f2d3e-5b7a-4e21-9a3c-1234567890ab";
    const std::string root = "/Users/ann/Documents";
    const std::string path = FileRules::logicalPath(root + "/Client Notes/Q3 R\u00E9port (final).PDF", root);
    const std::string cleaned = "client-notes-f2de9572/q3-report-final-000dd3af.PDF";
    EXPECT_EQ(FileRules::buildStorageKey(user, root, path), "user-" + user + "/root-4ec4d866/" + cleaned);
    EXPECT_EQ(FileRules::buildStorageKey(user, root, path, "12345678"), "user-" + user + "/root-12345678/" + cleaned);
    EXPECT_EQ(FileRules::legacyStorageKey(user, path), "user-" + user + "/" + cleaned);
    EXPECT_EQ(FileRules::buildStorageKey(user, "/", "//2024//README/"),
              "user-" + user + "/root-6666cd76/2024-07811dc6/readme-c47c7c73");
    EXPECT_EQ(FileRules::buildStorageKey(user, "/", ""), "user-" + user + "/root-6666cd76/");
}

TEST(FileRules, DigestsTheContentOrSaysWhyNot) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a.txt", std::string(1'000'000, 'a'));
    const std::string pipe = folder.at("pipe.txt");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const auto digestOf = [](const std::string& url, bool isStopped = false) -> std::string {
        try {
            const std::atomic<bool> stop = isStopped;
            return FileRules::sha256Hex(url, &stop);
        } catch (const platform::FileError& error) {
            return error.what();
        }
    };
    EXPECT_EQ(digestOf(path), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(digestOf(path, true), "The file \"" + path + "\" could not be read: Operation canceled");
    EXPECT_EQ(digestOf("/no"), "The file \"/no\" could not be opened: No such file or directory");
    EXPECT_EQ(digestOf(pipe), "The file \"" + pipe + "\" could not be read: it is no regular file");
}
