#include "CountingNew.h"

#include <atomic>
#include <cstdlib>
#include <new>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

std::atomic<unsigned long> g_nCount{0};
thread_local unsigned long t_nLeft = 0;
thread_local bool t_bFromThenOn = false;

bool fails() {
    ++g_nCount;
    if (t_nLeft == 0)
        return false;
    if (--t_nLeft > 0)
        return false;
    t_nLeft = t_bFromThenOn ? 1 : 0;
    return true;
}

} // namespace

unsigned long counting_new::count() {
    return g_nCount;
}

void counting_new::failNth(unsigned long n, bool fromThenOn) {
#ifdef __SANITIZE_ADDRESS__
    // Without memory TinyXML drops what it was building.
    static thread_local bool t_bDisabled = false;
    if ((n != 0) != t_bDisabled) {
        t_bDisabled = n != 0;
        t_bDisabled ? __lsan_disable() : __lsan_enable();
    }
#endif
    t_nLeft = n;
    t_bFromThenOn = fromThenOn;
}

void* operator new(size_t size) {
    if (void* memory = fails() ? nullptr : malloc(size))
        return memory;
    throw std::bad_alloc();
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return fails() ? nullptr : malloc(size);
}

void operator delete(void* memory) noexcept {
    free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    free(memory);
}
