// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#ifndef TAMSEL_BENCH_OPERATIONS_H
#define TAMSEL_BENCH_OPERATIONS_H

#include "systems/system.h"

#include <memory>
#include <vector>

namespace tamsel::bench {

// One measured operation on one system.
class Operation
{
public:
    explicit Operation(const SystemInfo &info);
    virtual ~Operation();

    // The number of reads, writes or settings of one run.
    virtual int size() const = 0;
    // Called before each run; not measured.
    virtual void prepare();
    // Measured.
    virtual void run() = 0;
    // Whether the results of all runs so far are right; may be called after any number of runs.
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
    std::vector<int> sizes; // the sizes to measure; 0 if the workload sets the size
    bool isPrepared; // whether prepare() does anything
    int threads; // the largest number of threads that run it at once
    std::unique_ptr<Operation> (*create)(const SystemInfo &info, int size);
};

// R1 read from Runtime                       W1, W1-int write of a changed text, int to Runtime
// R2 read from the lowest file               W2 write of an equal value to Runtime
// R3 read of a missing key                   W3 write of a changed value to CustomConfPersistent
// R4-top, R4-bottom: R1 and R2 from one thread and from two
// L1 Rdm is created, L2 replaced with one value in a hundred changed, L3 cleared
// I1, I1-silent a file becomes the layer RavonaConfDefault, the only one, with and without a handler
//
// Except in I1-silent one handler is registered. Except in I1 and I1-silent all eight layers exist.
const std::vector<OperationInfo> &operations();

bool offers(const SystemInfo &system, const OperationInfo &operation);

} // namespace tamsel::bench

#endif // TAMSEL_BENCH_OPERATIONS_H
