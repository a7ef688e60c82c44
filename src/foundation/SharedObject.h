// Objects that count who uses them, and the pointer that counts for its owner.
// Everything rests on one rule: copies of an object share one count, so that the last of them can
// tell that what they stand for belongs to nobody else. A class whose copies have a content of
// their own begins a new count in its copy constructor.
#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <utility>

namespace tarn {

/// Starts with a count of 1, its maker's. A copy is a second handle on the same content: it joins
/// the count and adds 1, which its destruction takes off again. The count is changed atomically, so
/// that handles on any threads may share it; one handle is copied, assigned and destroyed by one
/// thread at a time.
class SharedObject {
public:
    SharedObject();
    SharedObject(const SharedObject& other) noexcept;

    /// Leaves this object's count and joins the other's, with everything that was retained here.
    SharedObject& operator=(const SharedObject& other) noexcept;

    /// Takes this handle's part off the count: 1 and what was retained, less what was released.
    virtual ~SharedObject();

    /// Both return the new count.
    virtual std::int32_t retain() noexcept;

    /// At 0 the object deletes itself, so it must come from `new`.
    virtual std::int32_t release() noexcept;

    /// Whether the count is above 1. In a destructor that means: leave the content to the others;
    /// so the last two handles must not be destroyed on two threads at once.
    bool isShared() const noexcept;

private:
    struct alignas(16) Counter {
        std::atomic<std::int32_t> count{1};
        std::atomic<std::int32_t> handles{1};  // objects that share it; the last one frees it
    };

    void join(std::int32_t held) noexcept;
    void leave() noexcept;

    Counter* counter_;
    std::atomic<std::int32_t> held_{1};  // this handle's part of the count
};

/// Holds one `T`, derived from SharedObject, alive, or nothing. As safe as a raw pointer: one
/// thread at a time, while other pointers to the object live on other threads.
template <typename T>
class SharedObjectPtr {
public:
    SharedObjectPtr() noexcept = default;

    /// Retains the object; its maker's own count of 1 stays the maker's to release.
    explicit SharedObjectPtr(T* object) noexcept : object_(object) { retain(); }
    SharedObjectPtr(const SharedObjectPtr& other) noexcept : object_(other.object_) { retain(); }
    SharedObjectPtr(SharedObjectPtr&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    template <std::derived_from<T> Derived>
    SharedObjectPtr(const SharedObjectPtr<Derived>& other) noexcept
        : SharedObjectPtr(other.get()) {}
    SharedObjectPtr& operator=(SharedObjectPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    virtual ~SharedObjectPtr() {
        if (object_ != nullptr)
            static_cast<SharedObject*>(object_)->release();
    }

    void reset(T* object = nullptr) noexcept { *this = SharedObjectPtr(object); }

    T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

private:
    void retain() noexcept {
        if (object_ != nullptr)
            static_cast<SharedObject*>(object_)->retain();
    }

    T* object_ = nullptr;
};

/// A new object of which the pointer is the only holder.
template <typename T, typename... Arguments>
SharedObjectPtr<T> makeShared(Arguments&&... arguments) {
    T* const object = new T(std::forward<Arguments>(arguments)...);
    SharedObjectPtr<T> pointer(object);
    static_cast<SharedObject*>(object)->release();
    return pointer;
}

}  // namespace tarn
