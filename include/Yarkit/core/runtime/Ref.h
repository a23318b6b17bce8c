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

private:
    T* _ptr { nullptr };
};

template <typename T, typename U>
bool operator==(const Ref<T>& a, const Ref<U>& b)
{
    return a.get() == b.get();
}
template <typename T, typename U>
bool operator==(const Ref<T>& a, const U* b)
{
    return a.get() == b;
}
template <typename T>
bool operator==(const Ref<T>& a, std::nullptr_t)
{
    return a.get() == nullptr;
}

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
