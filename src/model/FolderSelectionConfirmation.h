#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace veskline {

// A change of the folder selection that would throw away what the user has selected, and so waits for a confirmation.
class FolderSelectionConfirmation {
public:
    enum class Kind : std::uint8_t { replaceWithSpecificFolder, replaceWithHome, replaceWithRoot };

    [[nodiscard]] static FolderSelectionConfirmation replaceWithSpecificFolder(std::string path) {
        return {Kind::replaceWithSpecificFolder, std::move(path)};
    }
    [[nodiscard]] static FolderSelectionConfirmation replaceWithHome() { return {Kind::replaceWithHome, {}}; }
    [[nodiscard]] static FolderSelectionConfirmation replaceWithRoot() { return {Kind::replaceWithRoot, {}}; }

    [[nodiscard]] Kind kind() const noexcept { return kind_; }
    // Of the chosen folder; empty for home and root.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    // Tells one alert from another.
    [[nodiscard]] std::string id() const;

    friend bool operator==(const FolderSelectionConfirmation&, const FolderSelectionConfirmation&) = default;

private:
    FolderSelectionConfirmation(Kind kind, std::string path) : kind_(kind), path_(std::move(path)) {}

    Kind kind_;
    std::string path_;
};

// The words of the alert for what is pending; a general form, never shown, where nothing is.
[[nodiscard]] std::string confirmationTitle(const std::optional<FolderSelectionConfirmation>& pending);
[[nodiscard]] std::string confirmationMessage(const std::optional<FolderSelectionConfirmation>& pending);
[[nodiscard]] std::string confirmationButtonTitle(const std::optional<FolderSelectionConfirmation>& pending);

} // namespace veskline
