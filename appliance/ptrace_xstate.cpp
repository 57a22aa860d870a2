// SPDX-License-Identifier: MIT
// Lets Debian 12's User-mode Linux run on processors whose register state is larger than it
// expects.
//
// With AMX the state of a traced process takes some 11 KB.  The kernel of the appliance reads the
// first 2.7 KB, which is all that its guests use, but then writes only those back, while the
// machine accepts only a whole state: the first guest process dies.  Preloaded before the C
// library (LD_PRELOAD), this ptrace completes such a short state with initial register values.
#include <array>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <linux/ptrace.h>
#include <sys/uio.h>

namespace {

using Ptrace = long (*)(int, int, void*, void*);

// Where the header says which parts of the state are in use, one bit per part.
constexpr std::size_t parts_offset = 512;
// Parts 0 to 9, x87 to protection keys, are those of a short state.
constexpr std::uint64_t short_parts = 0x3ff;

Ptrace real_ptrace() {
    static Ptrace function = nullptr;
    if (function == nullptr)
        function = reinterpret_cast<Ptrace>(dlsym(RTLD_NEXT, "ptrace"));
    return function;
}

std::array<unsigned char, 65536> state;

// The size of a traced process's state on this processor; 0 when unknown.
std::size_t state_size(int pid, void* kind) {
    static std::size_t size = 0;
    if (size == 0) {
        iovec whole{state.data(), state.size()};
        if (real_ptrace()(PTRACE_GETREGSET, pid, kind, &whole) == 0)
            size = whole.iov_len;
    }
    return size;
}

long set_state(int pid, void* kind, iovec& given) {
    const std::size_t size = state_size(pid, kind);
    if (given.iov_len >= size || given.iov_len < parts_offset + sizeof(std::uint64_t))
        return real_ptrace()(PTRACE_SETREGSET, pid, kind, &given);
    std::memcpy(state.data(), given.iov_base, given.iov_len);
    std::memset(state.data() + given.iov_len, 0, size - given.iov_len);
    std::uint64_t parts = 0;
    std::memcpy(&parts, state.data() + parts_offset, sizeof(parts));
    parts &= short_parts;
    std::memcpy(state.data() + parts_offset, &parts, sizeof(parts));
    iovec padded{state.data(), size};
    return real_ptrace()(PTRACE_SETREGSET, pid, kind, &padded);
}

} // namespace

extern "C" long ptrace(int request, int pid, void* address, void* data) {
    if (request == PTRACE_SETREGSET && reinterpret_cast<std::uintptr_t>(address) == NT_X86_XSTATE)
        return set_state(pid, address, *static_cast<iovec*>(data));
    return real_ptrace()(request, pid, address, data);
}
