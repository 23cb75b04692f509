// A static object that is not destroyed at exit.
//
// An ERROR line calls exit() while GStreamer's streaming threads run. They may still use what
// static destructors would release, so no static object of the daemon is destroyed: this wrapper
// holds its static owners. An orderly stop releases them through their modules' functions.
// Declare it constinit, except for a vector, whose constructor isn't constexpr in GCC 10.
#pragma once

#include <utility>

template <class Value> class never_destroyed {
public:
    template <class... Arguments>
    constexpr explicit never_destroyed(Arguments&&... arguments)
        : value_(std::forward<Arguments>(arguments)...) {}
    never_destroyed(const never_destroyed&) = delete;
    never_destroyed& operator=(const never_destroyed&) = delete;
    // Does not destroy the value. "= default" would be deleted, as the union's destructor is.
    ~never_destroyed() {} // NOLINT(modernize-use-equals-default)

    constexpr Value& operator*() { return value_; }
    constexpr Value* operator->() { return &value_; }

private:
    union {
        Value value_;
    };
};
