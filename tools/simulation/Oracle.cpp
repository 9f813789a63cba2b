#include "simulation/Oracle.h"

#include "simulation/Names.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace veskline::simulation {

namespace {

namespace fs = std::filesystem;

std::string digestOf(const char* algorithm, std::string_view bytes, std::size_t length) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    std::size_t size = 0;
    if (EVP_Q_digest(nullptr, algorithm, nullptr, bytes.data(), bytes.size(), digest.data(), &size) != 1) {
        throw std::runtime_error(fmt::format("The system has no {}", algorithm));
    }
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += fmt::format("{:02x}", digest.at(i));
    }
    return text;
}

std::string shortHash(std::string_view text) {
    return digestOf("MD5", text, 4);
}

const Name* nameOf(std::string_view text) {
    const auto matches = [&](const Name& name) { return name.text == text; };
    if (const auto* const file = std::ranges::find_if(fileNames, matches); file != fileNames.end()) {
        return file;
    }
    const auto* const folder = std::ranges::find_if(folderNames, matches);
    return folder == folderNames.end() ? nullptr : folder;
}

std::string extensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? "" : std::string(name.substr(dot + 1));
}

std::string segmentOf(std::string_view text) {
    const Name* const name = nameOf(text);
    if (name == nullptr) {
        throw std::logic_error(fmt::format("No name of the simulation: \"{}\"", text));
    }
    const std::string extension = extensionOf(text);
    return fmt::format("{}-{}{}{}", name->stem, shortHash(text), extension.empty() ? "" : ".", extension);
}

void listFolder(const fs::path& folder, const std::string& root, Oracle::Listing& listing) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        listing.unavailable.push_back(folder.string());
        return;
    }
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        const std::string path = entries->path().string();
        const Name* const name = nameOf(entries->path().filename().string());
        const Fate fate = name == nullptr ? Fate::dropped : name->fate;
        if (fate == Fate::document && entries->symlink_status().type() == fs::file_type::directory) {
            listFolder(path, root, listing);
        } else if (fate == Fate::document && entries->symlink_status().type() == fs::file_type::regular) {
            listing.documents.emplace(path, Oracle::Document{path, root, path.substr(root.size() + 1)});
        }
    }
}

} // namespace

bool Oracle::Listing::mayHold(std::string_view path) const {
    return documents.contains(path) ||
           std::ranges::any_of(unavailable, [&](const std::string& folder) { return path.starts_with(folder + "/"); });
}

Oracle::Listing Oracle::list(const std::string& root) {
    Listing listing;
    listFolder(root, root, listing);
    return listing;
}

std::string Oracle::contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string Oracle::rootTag(std::string_view root) {
    return shortHash(root);
}

std::string Oracle::storageKey(std::string_view userID, const Document& document) {
    std::string key = fmt::format("user-{}/root-{}", userID, rootTag(document.root));
    for (std::string_view rest = document.logicalPath; !rest.empty();) {
        const std::string_view segment = rest.substr(0, rest.find('/'));
        key += "/" + segmentOf(segment);
        rest.remove_prefix(std::min(rest.size(), segment.size() + 1));
    }
    return key;
}

std::string Oracle::mimeType(std::string_view path) {
    static const std::map<std::string, std::string, std::less<>> types{
        {"PDF", "application/pdf"}, {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
        {"txt", "text/plain"},      {"md", "text/plain"},
        {"csv", "text/csv"},        {"epub", "application/epub+zip"},
        {"rtf", "application/rtf"}};
    return types.at(extensionOf(path));
}

std::string Oracle::sha256(std::string_view content) {
    return digestOf("SHA256", content, 32);
}

} // namespace veskline::simulation
