#include "platform/http/CurlExchange.h"

#include "platform/http/CurlFailure.h"
#include "platform/http/HttpRedirect.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <ranges>
#include <utility>

namespace platform {

namespace {

// Bytes of libcurl's own buffer for the upload of a large file, which is made anew for each.
constexpr long uploadBuffer = 65'536;

// What most requests and answers take, so that room for it is made in one piece.
constexpr std::size_t usualHeaderBytes = 2048;
constexpr std::size_t usualHeaders = 16;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool breaksLine(std::string_view text) {
    return text.contains('\r') || text.contains('\n') || text.contains('\0');
}

// A line for CURLOPT_HTTPHEADER(3), where an empty value is told by a semicolon.
void appendHeaderLine(std::string& lines, const HttpHeader& header) {
    if (breaksLine(header.name) || breaksLine(header.value)) {
        throw TransportError(fmt::format("The header \"{}\" of the request holds a line break", trimmed(header.name)));
    }
    lines += header.name;
    if (header.value.empty()) {
        lines += ';';
    } else {
        lines.append(": ").append(header.value);
    }
}

template <class Value>
void set(CURL* handle, CURLoption option, Value value) {
    if (const CURLcode code = curl_easy_setopt(handle, option, value); code != CURLE_OK) {
        throw curlFailure(code, "");
    }
}

bool mayBeSentTwice(const HttpRequest& request) {
    return request.method == "GET" || request.method == "HEAD";
}

} // namespace

CurlExchange::CurlExchange(PendingExchange& pending, std::unique_ptr<FileBodyReader> file, CurlHandle handle,
                           const CurlLimits& limits)
    : pending_(pending), file_(std::move(file)), handle_(std::move(handle)), limits_(limits) {}

CurlHandle CurlExchange::newHandle(const CurlLimits& limits) {
    CurlHandle handle(curl_easy_init());
    if (!handle) {
        throw std::bad_alloc();
    }
    setProtocol(handle.get());
    setBounds(handle.get(), limits);
    setCallbacks(handle.get());
    return handle;
}

void CurlExchange::prepare() {
    response_ = HttpResponse();
    headerBytes_ = 0;
    isHeaderComplete_ = false;
    timesSent_ = 0;
    setRequest();
    setHeaders();
    setReceiver();
}

// Each option that one exchange sets is set by every other, or says nothing there.
void CurlExchange::setRequest() {
    set(handle(), CURLOPT_URL, pending_.request.url.c_str());
    set(handle(), CURLOPT_HTTPGET, 1L); // no body, unless one is set below
    set(handle(), CURLOPT_NOBODY, pending_.request.method == "HEAD" ? 1L : 0L);
    setBody();
    set(handle(), CURLOPT_CUSTOMREQUEST, pending_.request.method.c_str());
}

// A method that may carry a body announces its length also where it is nothing.
void CurlExchange::setBody() {
    const HttpRequest& request = pending_.request;
    if (file_ && !file_->content()) {
        file_->rewind();
        set<const char*>(handle(), CURLOPT_POSTFIELDS, nullptr); // but what is read
        set(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(file_->size()));
        return;
    }
    const std::string* const bytes = file_ ? &*file_->content() : std::get_if<std::string>(&request.body);
    if (bytes != nullptr || !mayBeSentTwice(request)) {
        set(handle(), CURLOPT_POSTFIELDS, bytes != nullptr ? bytes->data() : "");
        set(handle(), CURLOPT_POSTFIELDSIZE_LARGE,
            bytes != nullptr ? static_cast<curl_off_t>(bytes->size()) : curl_off_t{0});
    }
}

void CurlExchange::setHeaders() {
    const std::vector<HttpHeader>& headers = pending_.request.headers;
    headerLines_.clear();
    headerLines_.reserve(usualHeaderBytes);
    headers_.clear();
    headers_.reserve(headers.size() + 3);
    const auto endLine = [this] {
        headerLines_ += '\0';
        headers_.emplace_back();
    };
    // What libcurl would send by itself: a line without a value takes it out, unless the request brings one.
    for (const std::string_view own : {"Accept", "Content-Type", "Expect"}) {
        const auto isOwn = [own](const HttpHeader& header) { return isSameHeader(header.name, own); };
        if (std::ranges::none_of(headers, isOwn)) {
            headerLines_.append(own).append(":");
            endLine();
        }
    }
    for (const HttpHeader& header : headers) {
        appendHeaderLine(headerLines_, header);
        endLine();
    }
    set(handle(), CURLOPT_HTTPHEADER, linkedHeaderLines());
}

// libcurl reads the list where it lies, for as long as the transfer lasts.
curl_slist* CurlExchange::linkedHeaderLines() {
    curl_slist* next = nullptr;
    char* line = headerLines_.data();
    for (curl_slist& header : headers_) {
        header.data = line;
        line += std::strlen(line) + 1;
    }
    for (curl_slist& header : std::views::reverse(headers_)) {
        header.next = std::exchange(next, &header);
    }
    return next;
}

void CurlExchange::setReceiver() {
    for (const CURLoption option :
         {CURLOPT_READDATA, CURLOPT_HEADERDATA, CURLOPT_WRITEDATA, CURLOPT_PREREQDATA, CURLOPT_PRIVATE}) {
        set(handle(), option, this);
    }
    set(handle(), CURLOPT_ERRORBUFFER, account_.data());
}

// --- What all exchanges share ---

void CurlExchange::setProtocol(CURL* handle) {
    set(handle, CURLOPT_PATH_AS_IS, 1L);
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
}

void CurlExchange::setBounds(CURL* handle, const CurlLimits& limits) {
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connect.count()));
    set(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.stall.count()));
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_UPLOAD_BUFFERSIZE, uploadBuffer);
    // An aborted exchange must not hold up the others until its look-up of a name has ended.
    set(handle, CURLOPT_QUICK_EXIT, 1L);
}

void CurlExchange::setCallbacks(CURL* handle) {
    const auto onRead = [](char* buffer, std::size_t size, std::size_t count, void* self) -> std::size_t {
        return guarded(self, std::size_t{CURL_READFUNC_ABORT},
                       [&](CurlExchange& exchange) { return exchange.file_->read({buffer, size * count}); });
    };
    const auto onHeader = [](char* line, std::size_t size, std::size_t count, void* self) -> std::size_t {
        return guarded(self, std::size_t{0}, [&](CurlExchange& exchange) {
            exchange.takeHeaderLine({line, size * count});
            return size * count;
        });
    };
    const auto onBody = [](char* bytes, std::size_t size, std::size_t count, void* self) -> std::size_t {
        return guarded(self, std::size_t{0}, [&](CurlExchange& exchange) {
            exchange.takeBody({bytes, size * count});
            return size * count;
        });
    };
    const auto onSending = [](void* self, char*, char*, int, int) {
        return static_cast<CurlExchange*>(self)->refuseSecondSending();
    };
    set(handle, CURLOPT_READFUNCTION, static_cast<curl_read_callback>(onRead));
    set(handle, CURLOPT_HEADERFUNCTION, static_cast<curl_write_callback>(onHeader));
    set(handle, CURLOPT_WRITEFUNCTION, static_cast<curl_write_callback>(onBody));
    set(handle, CURLOPT_PREREQFUNCTION, static_cast<curl_prereq_callback>(onSending));
}

template <class Result, class Step>
Result CurlExchange::guarded(void* exchange, Result failed, Step step) noexcept {
    CurlExchange& self = *static_cast<CurlExchange*>(exchange);
    try {
        return step(self);
    } catch (...) {
        self.failure_ = std::current_exception();
        return failed;
    }
}

// A status line opens a new block: the one before was an interim answer. Lines after the block's end are trailers.
void CurlExchange::takeHeaderLine(std::string_view line) {
    headerBytes_ += line.size();
    if (headerBytes_ > limits_.headerBytes) {
        throw TransportError(
            fmt::format("The server's answer has more than {} KiB of headers", limits_.headerBytes >> 10U));
    }
    const std::size_t colon = line.find(':');
    if (line.starts_with("HTTP/")) {
        response_.headers.clear();
        response_.headers.reserve(usualHeaders);
        isHeaderComplete_ = false;
    } else if (trimmed(line).empty()) {
        isHeaderComplete_ = true;
    } else if (!isHeaderComplete_ && colon != std::string_view::npos) {
        response_.headers.emplace_back(std::string(line.substr(0, colon)),
                                       std::string(trimmed(line.substr(colon + 1))));
    }
}

void CurlExchange::takeBody(std::string_view bytes) {
    if (bytes.size() > limits_.bodyBytes - response_.body.size()) {
        throw TransportError(fmt::format("The server's answer is larger than {} KiB", limits_.bodyBytes >> 10U));
    }
    response_.body += bytes;
}

// libcurl sends a request again by itself where a kept connection turns out to be dead.
int CurlExchange::refuseSecondSending() noexcept {
    return timesSent_++ == 0 || mayBeSentTwice(pending_.request) ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

HttpResponse CurlExchange::takeResponse(CURLcode result) {
    if (failure_) {
        std::rethrow_exception(std::exchange(failure_, nullptr));
    }
    const bool wasSent = timesSent_ > 0;
    if (wasSent && (result == CURLE_UNSUPPORTED_PROTOCOL || result == CURLE_WEIRD_SERVER_REPLY)) {
        return HttpResponse();
    }
    if (timesSent_ > 1 && result == CURLE_ABORTED_BY_CALLBACK) {
        throw curlFailure(CURLE_GOT_NOTHING, "");
    }
    if (result != CURLE_OK) {
        long systemError = 0;
        curl_easy_getinfo(handle(), CURLINFO_OS_ERRNO, &systemError);
        throw curlFailure(result, account_.data(), static_cast<int>(systemError));
    }
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    response_.status = static_cast<int>(status);
    return std::move(response_);
}

bool CurlExchange::redirects(const HttpResponse& response) {
    std::optional<HttpRequest> next = followRedirect(pending_.request, response);
    if (!next) {
        return false;
    }
    if (++redirects_ > limits_.redirects) {
        throw TransportError(fmt::format("The server redirects more than {} times", limits_.redirects));
    }
    pending_.request = *std::move(next);
    prepare();
    return true;
}

bool CurlExchange::goesOn(CURLcode result) noexcept {
    try {
        HttpResponse response = takeResponse(result);
        if (redirects(response)) {
            return true;
        }
        response_ = std::move(response);
    } catch (...) {
        failure_ = std::current_exception();
    }
    return false;
}

// After the handler of a failure has ended, so that the sender alone holds the exception.
void CurlExchange::tell() noexcept {
    if (failure_) {
        pending_.fail(std::move(failure_));
    } else {
        pending_.succeed(std::move(response_));
    }
}

} // namespace platform
