// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_OPERATIONS_H
#define TAMSEL_BENCH_OPERATIONS_H

#include "systems/system.h"

#include <memory>
#include <vector>

namespace tamsel::bench {

// One thing that is measured, on one system.
class Operation
{
public:
    explicit Operation(const SystemInfo &info);
    virtual ~Operation();

    // How many reads, writes or settings one run is about.
    virtual int size() const = 0;
    // Goes before each run and is not measured.
    virtual void prepare();
    // What is measured.
    virtual void run() = 0;
    // After any number of runs: whether they did what they should.
    virtual bool isCorrect() const = 0;

protected:
    System &system() const { return *m_system; }

private:
    Q_DISABLE_COPY_MOVE(Operation)

    const std::unique_ptr<System> m_system;
};

struct OperationInfo
{
    const char *name;
    std::vector<int> sizes; // that it is measured with; 0 where the workload sets it
    bool isPrepared; // whether prepare() does anything
    int threads; // up to so many run it at once
    std::unique_ptr<Operation> (*create)(const SystemInfo &info, int size);
};

// R1 read of a setting in Runtime            W1, W1-int write of a changed text, int to Runtime
// R2 read of one in the lowest file only     W2 write of an equal value to Runtime
// R3 read of one that is nowhere             W3 write of a changed value to CustomConfPersistent
// R4-top, R4-bottom: R1 and R2 from one thread and from two
// L1 Rdm registered, L2 replaced with one in a hundred changed, L3 cleared
// I1 a file becomes the layer RavonaConfDefault, the only one
//
// One handler is registered throughout; for all but I1, all eight layers are there.
const std::vector<OperationInfo> &operations();

bool offers(const SystemInfo &system, const OperationInfo &operation);

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_OPERATIONS_H
