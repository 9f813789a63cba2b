#pragma once

#include "platform/http/CurlTransport.h"
#include "platform/http/FileBodyReader.h"
#include "platform/http/HttpTransport.h"

#include <curl/curl.h>

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct CurlCleanup {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CurlCleanup>;

// One exchange on the thread that drives, redirects and all, and the libcurl handle that carries it. The callbacks of
// the handle point here, so it stays where it is. Used inside this folder.
class CurlExchange {
public:
    // A handle for exchanges within these limits, one after the other.
    [[nodiscard]] static CurlHandle newHandle(const CurlLimits& limits);

    // `file` is the opened file of the request's body, where it has one.
    CurlExchange(PendingExchange& pending, std::unique_ptr<FileBodyReader> file, CurlHandle handle,
                 const CurlLimits& limits);
    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;

    [[nodiscard]] CURL* handle() const noexcept { return handle_.get(); }
    [[nodiscard]] std::uint64_t ticket() const noexcept { return pending_.ticket; }

    // Gives the handle the request, before each time that it is added to the multi handle. Throws TransportError
    // for a request that cannot be sent.
    void prepare();

    // Takes the result of a transfer whose handle was removed from the multi handle. True when a redirect is to be
    // followed and the handle to be added again; else it has ended.
    [[nodiscard]] bool goesOn(CURLcode result) noexcept;

    // Ends it without an answer of the server.
    void fail(std::exception_ptr reason) noexcept { failure_ = std::move(reason); }

    // Gives the sender the answer of an exchange that has ended. Nothing of the request may be looked at after it.
    void tell() noexcept;

    // For the next exchange, once this one has ended.
    [[nodiscard]] CurlHandle takeHandle() noexcept { return std::move(handle_); }

private:
    void setRequest();
    void setBody();
    void setHeaders();
    [[nodiscard]] curl_slist* linkedHeaderLines();
    void setReceiver();
    static void setProtocol(CURL* handle);
    static void setBounds(CURL* handle, const CurlLimits& limits);
    static void setCallbacks(CURL* handle);

    void takeHeaderLine(std::string_view line);
    void takeBody(std::string_view bytes);
    int refuseSecondSending() noexcept;
    HttpResponse takeResponse(CURLcode result);
    bool redirects(const HttpResponse& response);

    // Runs a step that libcurl calls; what it throws becomes the failure of the exchange, and `failed` its result.
    template <class Result, class Step>
    static Result guarded(void* exchange, Result failed, Step step) noexcept;

    PendingExchange& pending_;
    std::unique_ptr<FileBodyReader> file_;
    CurlHandle handle_;
    const CurlLimits& limits_;

    std::string headerLines_; // each with a zero byte at its end
    std::vector<curl_slist> headers_;
    std::array<char, CURL_ERROR_SIZE> account_{};
    HttpResponse response_;
    std::size_t headerBytes_ = 0;
    bool isHeaderComplete_ = false;
    int timesSent_ = 0;
    int redirects_ = 0;
    std::exception_ptr failure_; // one found in a callback stands before libcurl's account of it
};

} // namespace platform
