#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace veskline::endurance {

// The hosted project of a long run, in a process of its own, so that its memory does not count as the program's.
// Made before the process has a second thread. Ends with this object, or with the process.
class HostedSide {
public:
    static constexpr const char* email = "maria.example@northwind.test";
    static constexpr const char* password = "correct-horse-battery";

    explicit HostedSide(const std::filesystem::path& folder);
    ~HostedSide();
    HostedSide(const HostedSide&) = delete;
    HostedSide& operator=(const HostedSide&) = delete;

    [[nodiscard]] const std::string& url() const noexcept { return url_; }

    void expireTokens() const { tell('e'); }
    // How it goes on from here: without a fault, with one request in fifty refused, or refusing all of them.
    void beWell() const { tell('w'); }
    void beFlaky() const { tell('f'); }
    void beAway() const { tell('a'); }

private:
    void tell(char command) const;

    pid_t process_ = -1;
    int commands_ = -1;
    std::string url_;
};

} // namespace veskline::endurance
