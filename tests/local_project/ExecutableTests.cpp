#include "local_project/ProjectFixture.h"

#include <array>
#include <csignal>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

namespace local_project {

using nlohmann::json;

namespace {

// The executable as a child process, its standard output read by the test.
class Child {
public:
    explicit Child(std::vector<std::string> words) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        std::vector<char*> arguments;
        words.insert(words.begin(), LOCAL_PROJECT_EXECUTABLE);
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        output_ = ends[0];
    }

    ~Child() {
        end(SIGKILL);
        ::close(output_);
    }

    std::string firstLine() const {
        std::string line;
        for (char byte = 0; ::read(output_, &byte, 1) == 1 && byte != '\n';) {
            line += byte;
        }
        return line;
    }

    // Sends the signal, and returns the exit status as waitpid(2) gives it.
    int end(int signal) {
        if (process_ > 0) {
            ::kill(process_, signal);
            wait();
        }
        return status_;
    }

    int wait() {
        ::waitpid(process_, &status_, 0);
        process_ = -1;
        return status_;
    }

private:
    pid_t process_ = -1;
    int output_ = -1;
    int status_ = 0;
};

class ExecutableTest : public ProjectFixture {
protected:
    std::vector<std::string> words() const {
        return {"--data", options_.data, "--user", "ada@example.com:engine-one", "--port-file", folder_ / "port"};
    }

    void connect(const Child& child) {
        const std::string line = child.firstLine();
        std::uint16_t port = 0;
        std::ifstream(folder_ / "port") >> port;
        EXPECT_EQ(line, "Veskline local project on http://127.0.0.1:" + std::to_string(port));
        caller_ = std::make_unique<Caller>(port);
    }
};

TEST_F(ExecutableTest, GoesOnAfterAKillWhereItWas) {
    {
        Child child(words());
        connect(child);
        signIn("ada@example.com");
        upload("a.txt", "hello");
        addFile("a.txt");
        child.end(SIGKILL);
    }
    Child child(words());
    connect(child);
    const json state = send("GET", "/_local/state").json();
    EXPECT_EQ(state["files"][0]["storage_key"], "a.txt");
    EXPECT_EQ(std::filesystem::file_size(state["objects"][0]["file"].get<std::string>()), 5U);
    EXPECT_EQ(send("GET", "/auth/v1/user").status, 200);
    const std::string refresh = "{\"refresh_token\":\"" + refreshToken_ + "\"}";
    EXPECT_EQ(send("POST", "/auth/v1/token?grant_type=refresh_token", refresh).status, 200);
    const int status = child.end(SIGTERM);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(ExecutableTest, EndsWithItsReason) {
    Child first(words());
    connect(first);
    EXPECT_EQ(WEXITSTATUS(Child(words()).wait()), 1) << "the folder is in use";
    EXPECT_EQ(WEXITSTATUS(Child({"--bogus"}).wait()), 2);
    EXPECT_EQ(WEXITSTATUS(Child({"--help"}).wait()), 0);
}

} // namespace

} // namespace local_project
