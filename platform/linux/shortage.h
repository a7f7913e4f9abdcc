// What a service does when the C heap has no memory left: it returns the failure of its contract.
// The strings and containers of this library throw then, and no exception may leave it.
#ifndef LINUX_SHORTAGE_H
#define LINUX_SHORTAGE_H

#include <cerrno>
#include <new>

namespace vrplatform {

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

}  // namespace vrplatform

#endif
