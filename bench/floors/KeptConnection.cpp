#include "floors/KeptConnection.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace floors {

namespace {

constexpr std::size_t tokenBytes = 1000; // about what a signed token takes

std::size_t dropBody(char*, std::size_t size, std::size_t count, void*) {
    return size * count;
}

std::size_t readFile(char* buffer, std::size_t size, std::size_t count, void* file) {
    const ssize_t got = read(*static_cast<int*>(file), buffer, size * count);
    return got < 0 ? CURL_READFUNC_ABORT : static_cast<std::size_t>(got);
}

} // namespace

KeptConnection::KeptConnection(std::string baseUrl) : baseUrl_(std::move(baseUrl)) {
    for (const std::string& header :
         {std::string("apikey: 0123456789012345678901234567890123456789"), std::string("accept: application/json"),
          std::string("content-type: application/json"), "Authorization: Bearer " + std::string(tokenBytes, 'a'),
          std::string("Expect:")}) {
        headers_ = curl_slist_append(headers_, header.c_str());
    }
}

KeptConnection::~KeptConnection() {
    curl_easy_cleanup(easy_);
    curl_slist_free_all(headers_);
}

void KeptConnection::get(const std::string& path) {
    begin(path);
    perform();
}

void KeptConnection::post(const std::string& path, const std::string& body) {
    begin(path);
    curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.c_str());
    perform();
}

void KeptConnection::post(const std::string& path, int file, std::int64_t bytes) {
    begin(path);
    curl_easy_setopt(easy_, CURLOPT_POST, 1L);
    curl_easy_setopt(easy_, CURLOPT_READFUNCTION, readFile);
    curl_easy_setopt(easy_, CURLOPT_READDATA, &file);
    curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t{bytes});
    curl_easy_setopt(easy_, CURLOPT_UPLOAD_BUFFERSIZE, 65536L);
    perform();
}

void KeptConnection::begin(const std::string& path) {
    curl_easy_reset(easy_);
    curl_easy_setopt(easy_, CURLOPT_URL, (baseUrl_ + path).c_str());
    curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, dropBody);
}

void KeptConnection::perform() {
    const CURLcode result = curl_easy_perform(easy_);
    long status = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    if (result != CURLE_OK || status / 100 != 2) {
        std::fprintf(stderr, "the request failed: %s, status %ld\n", curl_easy_strerror(result), status);
        std::exit(1);
    }
}

} // namespace floors
