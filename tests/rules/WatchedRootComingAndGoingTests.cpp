#include "WatchedRootFixture.h"

namespace veskline {

TEST_F(WatchedRootTest, FindsARootThatComesAndGoes) {
    fs::remove(in(""));
    start();
    EXPECT_EQ(toldByLook(), Told{});
    write("a.txt");
    EXPECT_EQ(toldByLook(), Told{"."});
    fs::remove_all(in(""));
    EXPECT_EQ(told(), Told({".", "a.txt"}));
    EXPECT_EQ(toldByLook(), Told{});
    fs::rename(outside(""), in(""));
    EXPECT_EQ(toldByLook(), Told{"."});
    fs::rename(in(""), folder_.at("elsewhere"));
    fs::create_directory(in(""));
    EXPECT_EQ(told(), Told{"."}) << "replaced";
    write("b.txt");
    EXPECT_EQ(told(), Told{"b.txt"});
}

TEST_F(WatchedRootTest, FollowsARootThatIsALink) {
    folder_.write("outside/one/a.txt", "");
    folder_.write("outside/two/a.txt", "");
    fs::remove(in(""));
    fs::create_directory_symlink(outside("one"), folder_.at("watched"));
    start();
    write("a.txt", "more");
    EXPECT_EQ(told(), Told{"a.txt"});
    fs::remove(folder_.at("watched"));
    fs::create_directory_symlink(outside("two"), folder_.at("watched"));
    EXPECT_EQ(toldByLook(), Told{"."});
    write("a.txt", "more");
    EXPECT_EQ(told(), Told{"a.txt"});
}

} // namespace veskline
