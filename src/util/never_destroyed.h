// A static object that is not destroyed at exit.
//
// An ERROR line ends the process by exit() while GStreamer's streaming threads run. They may still
// use what a static destructor would release, so nothing static in the daemon is destroyed: a
// static owner is put into this wrapper. An orderly stop releases it by its module's own function.
// It is constinit, but for a vector, whose constructor isn't constexpr in GCC 10.
#pragma once

#include <utility>

template <class Value> class never_destroyed {
public:
    template <class... Arguments>
    constexpr explicit never_destroyed(Arguments&&... arguments)
        : value_(std::forward<Arguments>(arguments)...) {}
    never_destroyed(const never_destroyed&) = delete;
    never_destroyed& operator=(const never_destroyed&) = delete;
    // Leaves the value alone; the default one would be deleted, as the union's is.
    ~never_destroyed() {} // NOLINT(modernize-use-equals-default)

    constexpr Value& operator*() { return value_; }
    constexpr Value* operator->() { return &value_; }

private:
    union {
        Value value_;
    };
};
