// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

// A plugin for qemu's user-mode emulators that prints how many instructions the program executed:
//
//     c++ -shared -fPIC -O2 -o qemucounter.so qemucounter.cpp
//     qemu-mipsel -plugin qemucounter.so PROGRAM
//
// Declares what it needs of qemu-plugin.h, version 1 of the interface: no package of Debian 12 has
// it.

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" {

using qemu_plugin_id_t = std::uint64_t;
struct qemu_plugin_tb; // a block of translated instructions, run from its first to its last
struct qemu_info_t;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t,
                                           void (*)(qemu_plugin_id_t, qemu_plugin_tb *));
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t, void (*)(qemu_plugin_id_t, void *), void *);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb *);
void qemu_plugin_register_vcpu_tb_exec_inline(qemu_plugin_tb *, qemu_plugin_op, void *,
                                              std::uint64_t);

extern int qemu_plugin_version;
int qemu_plugin_version = 1;

static std::uint64_t instructions = 0;

static void onTranslated(qemu_plugin_id_t, qemu_plugin_tb *block)
{
    qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &instructions,
                                             qemu_plugin_tb_n_insns(block));
}

static void onExit(qemu_plugin_id_t, void *)
{
    std::fprintf(stderr, "instructions %" PRIu64 "\n", instructions);
}

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t *, int, char **)
{
    qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslated);
    qemu_plugin_register_atexit_cb(id, onExit, nullptr);
    return 0;
}

} // extern "C"
