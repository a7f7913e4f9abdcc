// What a service does when the C heap has nothing left: it returns the failure of its
// contract. The texts and tables of this library throw then, and nothing may leave it so.
#ifndef LINUX_SHORTAGE_H
#define LINUX_SHORTAGE_H

#include <cerrno>
#include <new>

// The service's result, or `failure` with ENOMEM. A service takes its memory before it
// changes anything.
template <typename Result, typename Service>
Result UnlessShort(Result failure, Service service) {
    try {
        return service();
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return failure;
    }
}

#endif
