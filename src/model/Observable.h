#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace veskline {

// The fields of the application model that screens show.
enum class ModelField : std::uint8_t {
    email,
    password,
    currentUser,
    folders,
    mode,
    isRunning,
    authStatus,
    syncStatus,
    retryStatus,
    logLines,
    didBootstrap,
    ingestStatus,
    failedUploads,
    unsupportedFilesCount,
    indexingProgress,
    pendingFolderSelectionConfirmation,
};

// Whoever wants to know of each write to a field. Called on the main thread, right after the write; an observer that
// has much to do marks the field and does it later.
using ModelObserver = std::function<void(ModelField field)>;

class ModelObservers {
public:
    // For the life of the model: observers are added once, while the program is put together.
    void add(ModelObserver observer) { observers_.push_back(std::move(observer)); }
    void tell(ModelField field) const {
        for (const ModelObserver& observer : observers_) {
            observer(field);
        }
    }

private:
    std::vector<ModelObserver> observers_;
};

// One observable field. Every write tells, also the write of the value that is there already.
template <class T>
class Observable {
public:
    Observable(const ModelObservers& observers, ModelField field, T first = T())
        : observers_(observers), field_(field), value_(std::move(first)) {}
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    [[nodiscard]] const T& operator()() const noexcept { return value_; }
    void set(T value) {
        value_ = std::move(value);
        observers_.tell(field_);
    }
    // Changes the value in place, as one write.
    template <class Change>
    void change(Change change) {
        change(value_);
        observers_.tell(field_);
    }

private:
    const ModelObservers& observers_;
    ModelField field_;
    T value_;
};

} // namespace veskline
