#include "state/PublicConfigLoader.h"

#include "Faults.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace veskline {
namespace {

using Environment = std::map<std::string, std::string>;

std::string fileNaming(const std::string& url) {
    return R"({"SUPABASE_URL":")" + url +
           R"(","SUPABASE_ANON_KEY":"k","DASHBOARD_URL":"https://d","VESK_MAX_UPLOAD_BYTES":0})";
}

TEST(PublicConfigLoader, TakesTheEnvironmentWholeOrNotAtAll) {
    struct Case {
        Environment changes; // to an environment that is complete; "-" removes a variable
        const char* found;   // URL, bucket, limit
    };
    const Case cases[] = {
        {{}, "https://env files 5368709120"},
        {{{"SUPABASE_BUCKET", "a"}, {"SUPABASE_FILES_BUCKET", "b"}}, "https://env a 5368709120"},
        {{{"SUPABASE_FILES_BUCKET", "b"}}, "https://env b 5368709120"},
        {{{"SUPABASE_BUCKET", ""}, {"SUPABASE_FILES_BUCKET", "b"}}, "https://env  5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "0"}}, "https://env files 0"},
        {{{"VESK_MAX_UPLOAD_BYTES", "+12"}}, "https://env files 12"},
        {{{"VESK_MAX_UPLOAD_BYTES", "-7"}}, "https://env files -7"},
        {{{"VESK_MAX_UPLOAD_BYTES", "abc"}}, "https://env files 5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "5G"}}, "https://env files 5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "+-5"}}, "https://env files 5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "9223372036854775808"}}, "https://env files 5368709120"},
        {{{"SUPABASE_ANON_KEY", "-"}}, "https://file files 5368709120"},
        {{{"DASHBOARD_URL", "dash"}}, "https://file files 5368709120"},
        {{{"SUPABASE_URL", "env"}, {"VESK_MAX_UPLOAD_BYTES", "1"}}, "https://file files 5368709120"},
    };
    const TemporaryFolder folder;
    folder.write("public-config.json", fileNaming("https://file"));
    for (const Case& one : cases) {
        Environment environment = one.changes;
        environment.merge(
            Environment{{"SUPABASE_URL", "https://env"}, {"SUPABASE_ANON_KEY", ""}, {"DASHBOARD_URL", "https://d"}});
        std::erase_if(environment, [](const auto& variable) { return variable.second == "-"; });
        const PublicConfig config = PublicConfigLoader::load(std::nullopt, {environment, folder.string()});
        EXPECT_EQ(config.supabaseURL + " " + config.filesBucket + " " + std::to_string(config.maxUploadBytes),
                  one.found);
    }
}

TEST(PublicConfigLoader, ReadsTheFirstFileThatIsThereAndNoOther) {
    const TemporaryFolder folder;
    folder.write("main/public-config.json", fileNaming("https://main"));
    const std::string given = folder.makeFolder("given");
    const auto load = [&] { return PublicConfigLoader::load(given, {{}, folder.at("main")}).supabaseURL; };
    EXPECT_EQ(load(), "https://main");
    const std::string file = folder.write("given/public-config.json", fileNaming("https://given"));
    EXPECT_EQ(load(), "https://given");
    folder.write("given/public-config.json", "{}");
    EXPECT_EQ(test::failureOf(load), "The value of \"SUPABASE_URL\" is missing (in the file \"" + file + "\")");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(test::failureOf(load), "The file \"" + file + "\" could not be read: Is a directory");
}

TEST(PublicConfigLoader, NamesTheFileThatIsMissing) {
    const auto load = [](const std::optional<std::string>& resources) {
        return test::failureOf([&] { (void)PublicConfigLoader::load(std::nullopt, {{}, resources}); });
    };
    EXPECT_EQ(load("/no"), "The file \"/no/public-config.json\" could not be opened: No such file or directory");
    EXPECT_EQ(load({}), "The file \"public-config.json\" could not be opened: No such file or directory");
}

TEST(PublicConfigLoader, FindsTheResourcesBesideTheExecutable) {
    const test::EnvironmentVariable variable("VESK_TEST_VALUE", "a=b");
    const PublicConfigLoader::Surroundings found = PublicConfigLoader::processSurroundings();
    EXPECT_EQ(found.environment.at("VESK_TEST_VALUE"), "a=b");
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(found.resourceDirectory, (executable.parent_path().parent_path() / "share/veskline").string());
}

} // namespace
} // namespace veskline
