#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace yk {

// Owns one reference to a reference-counted object (yk::Object or anything with retain/release).
// Constructing from a raw pointer retains it; adopt() takes over a reference the caller owns.
template <typename T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) { }
    Ref(T* object)
        : _ptr(object)
    {
        if (_ptr)
            _ptr->retain();
    }
    Ref(const Ref& other)
        : Ref(other._ptr)
    {
    }
    Ref(Ref&& other) noexcept
        : _ptr(std::exchange(other._ptr, nullptr))
    {
    }
    template <typename U>
    Ref(const Ref<U>& other)
        : Ref(other.get())
    {
    }
    template <typename U>
    Ref(Ref<U>&& other) noexcept
        : _ptr(other.leakRef())
    {
    }
    ~Ref()
    {
        if (_ptr)
            _ptr->release();
    }

    Ref& operator=(Ref other) noexcept
    {
        std::swap(_ptr, other._ptr);
        return *this;
    }

    // Takes over a reference the caller already owns (the +1 of a fresh object).
    [[nodiscard]] static Ref adopt(T* object)
    {
        Ref ref;
        ref._ptr = object;
        return ref;
    }

    T* get() const { return _ptr; }
    T* operator->() const { return _ptr; }
    T& operator*() const { return *_ptr; }
    explicit operator bool() const { return _ptr != nullptr; }

    // Gives up ownership without releasing; the caller now owns the reference.
    [[nodiscard]] T* leakRef() { return std::exchange(_ptr, nullptr); }

    friend bool operator==(const Ref& a, const Ref& b) { return a._ptr == b._ptr; }
    friend bool operator==(const Ref& a, const T* b) { return a._ptr == b; }
    friend bool operator==(const Ref& a, std::nullptr_t) { return a._ptr == nullptr; }

private:
    T* _ptr { nullptr };
};

// Creates a reference-counted object; the new object's one reference belongs to the result.
template <typename T, typename... Args>
[[nodiscard]] Ref<T> make(Args&&... args)
{
    return Ref<T>::adopt(new T(std::forward<Args>(args)...));
}

} // namespace yk

template <typename T>
struct std::hash<yk::Ref<T>> {
    size_t operator()(const yk::Ref<T>& ref) const noexcept { return std::hash<T*>()(ref.get()); }
};
