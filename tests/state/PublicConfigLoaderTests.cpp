#include "state/PublicConfigLoader.h"

#include "state/EnvironmentVariable.h"
#include "state/Stored.h"

#include <gtest/gtest.h>

using namespace veskline;

namespace {

using Environment = std::map<std::string, std::string>;

// URL, bucket, limit; or the words of the failure.
std::string loaded(const std::optional<std::string>& bundle, const PublicConfigLoader::Surroundings& surroundings) {
    std::string text;
    const std::string failure = veskline::testing::failureOf([&] {
        const PublicConfig config = PublicConfigLoader::load(bundle, surroundings);
        text = config.supabaseURL + " " + config.filesBucket + " " + std::to_string(config.maxUploadBytes);
    });
    return text.empty() ? failure : text;
}

std::string fileNaming(const std::string& url, const std::string& more = "") {
    return R"({"SUPABASE_URL":")" + url + R"(","SUPABASE_ANON_KEY":"k","DASHBOARD_URL":"https://d")" + more + "}";
}

} // namespace

TEST(PublicConfigLoader, TakesTheEnvironmentWholeOrNotAtAll) {
    const TemporaryFolder folder;
    folder.write("public-config.json", fileNaming("https://file"));
    // What is changed in an environment that is complete; "-" removes a variable.
    const std::pair<Environment, std::string> rows[] = {
        {{}, "https://env files 5368709120"},
        {{{"SUPABASE_BUCKET", "a"}, {"SUPABASE_FILES_BUCKET", "b"}}, "https://env a 5368709120"},
        {{{"SUPABASE_FILES_BUCKET", "b"}}, "https://env b 5368709120"},
        {{{"SUPABASE_BUCKET", ""}, {"SUPABASE_FILES_BUCKET", "b"}}, "https://env  5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "0"}}, "https://env files 0"},
        {{{"VESK_MAX_UPLOAD_BYTES", "+12"}}, "https://env files 12"},
        {{{"VESK_MAX_UPLOAD_BYTES", "-7"}}, "https://env files -7"},
        {{{"VESK_MAX_UPLOAD_BYTES", "5G"}}, "https://env files 5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "+-5"}}, "https://env files 5368709120"},
        {{{"VESK_MAX_UPLOAD_BYTES", "9223372036854775808"}}, "https://env files 5368709120"},
        {{{"SUPABASE_ANON_KEY", "-"}}, "https://file files 5368709120"},
        {{{"DASHBOARD_URL", "dash"}}, "https://file files 5368709120"},
        {{{"SUPABASE_URL", "env"}, {"VESK_MAX_UPLOAD_BYTES", "1"}}, "https://file files 5368709120"},
    };
    for (const auto& [changes, found] : rows) {
        Environment environment = changes;
        environment.merge(
            Environment{{"SUPABASE_URL", "https://env"}, {"SUPABASE_ANON_KEY", ""}, {"DASHBOARD_URL", "https://d"}});
        std::erase_if(environment, [](const auto& variable) { return variable.second == "-"; });
        EXPECT_EQ(loaded(std::nullopt, {environment, folder.string()}), found);
    }
}

TEST(PublicConfigLoader, ReadsTheFirstFileThatIsThereAndNoOther) {
    const TemporaryFolder folder;
    const auto load = [&] { return loaded(folder.at("given"), {{}, folder.at("main")}); };
    const std::string file = folder.at("given/public-config.json");
    const std::string noFile = "/public-config.json\" could not be opened: No such file or directory";
    EXPECT_EQ(load(), "The file \"" + folder.at("main") + noFile);
    folder.write("main/public-config.json", fileNaming("https://main", R"(,"VESK_MAX_UPLOAD_BYTES":0)"));
    EXPECT_EQ(load(), "https://main files 5368709120") << "0 is not kept from the file";
    folder.write("given/public-config.json",
                 fileNaming("https://given", R"(,"SUPABASE_FILES_BUCKET":"","VESK_MAX_UPLOAD_BYTES":9)"));
    EXPECT_EQ(load(), "https://given  9");
    folder.write("given/public-config.json", "{}");
    EXPECT_EQ(load(), "The value of \"SUPABASE_URL\" is missing (in the file \"" + file + "\")");
    folder.write("given/public-config.json", fileNaming("a.b"));
    EXPECT_EQ(load(), "The value of \"SUPABASE_URL\" is not an absolute URL (in the file \"" + file + "\")");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(load(), "The file \"" + file + "\" could not be read: Is a directory");

    std::filesystem::remove(file);
    std::filesystem::create_symlink("../etc/project.json", file);
    EXPECT_EQ(loaded(std::nullopt, {{}, folder.at("given")}),
              "The file \"" + folder.at("etc/project.json") + "\" could not be opened: No such file or directory");
}

TEST(PublicConfigLoader, FindsTheResourcesBesideTheExecutable) {
    const veskline::testing::EnvironmentVariable variable("VESK_TEST_VALUE", "a=b");
    const PublicConfigLoader::Surroundings found = PublicConfigLoader::processSurroundings();
    EXPECT_EQ(found.environment.at("VESK_TEST_VALUE"), "a=b");
    const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(found.resourceDirectory, (executable.parent_path().parent_path() / "share/veskline").string());
}
