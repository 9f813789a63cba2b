#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <string>

namespace floors {

// Requests one after the other over one kept connection: one easy handle, set up anew for each, with headers of the
// size that a signed-in client sends. Only the status of an answer is looked at.
class KeptConnection {
public:
    explicit KeptConnection(std::string baseUrl);
    ~KeptConnection();
    KeptConnection(const KeptConnection&) = delete;
    KeptConnection& operator=(const KeptConnection&) = delete;

    // Each ends the process where the answer is not a 2xx: a floor that failed has measured nothing.
    void get(const std::string& path);
    void post(const std::string& path, const std::string& body);
    // Streams `bytes` of the open file.
    void post(const std::string& path, int file, std::int64_t bytes);

private:
    void begin(const std::string& path);
    void perform();

    std::string baseUrl_;
    CURL* easy_ = curl_easy_init();
    curl_slist* headers_ = nullptr;
};

} // namespace floors
