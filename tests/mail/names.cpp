// Preloaded into a program under test, which then finds the names that the tests use: "both.test" has the
// addresses ::1 and 127.0.0.1, in this order; "six.test" has ::1 alone; for "slow.test" the system takes a
// minute.

#include <dlfcn.h>
#include <netdb.h>
#include <string_view>
#include <unistd.h>

extern "C" int getaddrinfo(const char *name, const char *service, const addrinfo *hints, addrinfo **result)
{
    using Function = int(const char *, const char *, const addrinfo *, addrinfo **);
    static auto *const original = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string_view host(name ? name : "");
    if (host == "slow.test")
        sleep(60);
    if (host != "both.test" && host != "six.test")
        return original(name, service, hints, result);
    const int error = original("::1", service, hints, result);
    return error == 0 && host == "both.test" ? original("127.0.0.1", service, hints, &(*result)->ai_next)
                                             : error;
}
