// SPDX-FileCopyrightText: 2026 The libtamsel developers
// SPDX-License-Identifier: MIT

#include "operations.h"

#include <QtCore/QAtomicInt>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace tamsel::bench {

namespace {

class Read final : public Operation
{
public:
    Read(const SystemInfo &info, const Settings &targets, int found)
        : Operation(info), m_targets(targets), m_found(found)
    {
        system().setTargets(targets);
    }

    int size() const override { return static_cast<int>(m_targets.size()); }

    void run() override // on several threads at once, for R4
    {
        if (system().readAll() != m_found)
            m_failures.ref();
    }

    bool isCorrect() const override
    {
        const auto isRead = [this](const auto &one) { return system().read(one) == one.text; };
        return m_failures.loadRelaxed() == 0
                && std::all_of(m_targets.cbegin(), m_targets.cend(), isRead);
    }

private:
    const Settings m_targets;
    const int m_found;
    QAtomicInt m_failures;
};

class Write final : public Operation
{
public:
    Write(const SystemInfo &info, SettingsType type, bool isChange, int choice = firstText)
        : Operation(info),
          m_targets(contents(type)),
          m_type(type),
          m_isChange(isChange),
          m_choice(choice)
    {
        system().setTargets(m_targets);
        system().writeAll(type, m_choice);
        m_notificationsBefore = system().notifications();
    }

    int size() const override { return static_cast<int>(m_targets.size()); }

    void run() override
    {
        m_choice ^= int(m_isChange);
        system().writeAll(m_type, m_choice);
        ++m_runs;
    }

    bool isCorrect() const override
    {
        const QString text = writtenValues().at(m_choice).toString();
        const auto isWritten = [&](const auto &one) { return system().read(one) == text; };
        const qint64 changes = m_isChange ? m_runs * size() : 0;
        return system().notifications() - m_notificationsBefore == changes
                && std::all_of(m_targets.cbegin(), m_targets.cend(), isWritten);
    }

private:
    const Settings m_targets;
    const SettingsType m_type;
    const bool m_isChange;
    int m_choice;
    qint64 m_runs = 0;
    qint64 m_notificationsBefore = 0;
};

// The operations on the layer Rdm. Checks how often the handler is notified.
class LayerOperation : public Operation
{
public:
    LayerOperation(const SystemInfo &info, int size, int notifications)
        : Operation(info), m_size(size), m_notifications(notifications)
    {
    }

    int size() const override { return m_size; }

    void run() final
    {
        const qint64 before = system().notifications();
        change();
        m_isCorrect &= system().notifications() - before == m_notifications;
    }

    bool isCorrect() const override { return m_isCorrect; }

protected:
    virtual void change() = 0;

private:
    const int m_size;
    const int m_notifications;
    bool m_isCorrect = true;
};

class Registration final : public LayerOperation
{
public:
    Registration(const SystemInfo &info, int size) : LayerOperation(info, size, size) { }

    void prepare() override { system().clearLayer(m_map); }

protected:
    void change() override { system().registerLayer(m_map); }

private:
    const QVariantMap m_map = toMap(manySettings(size()));
};

class Replacement final : public LayerOperation
{
public:
    Replacement(const SystemInfo &info, int size) : LayerOperation(info, size, size / 100)
    {
        system().clearLayer({});
        system().registerLayer(m_maps[m_current]);
    }

protected:
    void change() override
    {
        const QVariantMap &previous = m_maps[m_current];
        m_current ^= 1U;
        system().replaceLayer(m_maps[m_current], previous);
    }

private:
    const std::array<QVariantMap, 2> m_maps{toMap(manySettings(size())),
                                            toMap(manySettings(size(), true))};
    std::size_t m_current = 0;
};

class Clearing final : public LayerOperation
{
public:
    Clearing(const SystemInfo &info, int size) : LayerOperation(info, size, size)
    {
        system().clearLayer({});
    }

    void prepare() override { system().registerLayer(m_map); }

protected:
    void change() override { system().clearLayer(m_map); }

private:
    const QVariantMap m_map = toMap(manySettings(size()));
};

class Load final : public Operation
{
public:
    Load(const SystemInfo &info, int size, bool isSilent)
        : Operation(info),
          m_size(size),
          m_isSilent(isSilent),
          m_content(iniText(manySettings(size)))
    {
    }

    int size() const override { return m_size; }

    void prepare() override
    {
        system().unload();
        if (m_isSilent)
            system().removeHandler();
        // A new path each time: QSettings caches the files that it has read.
        m_folder.emplace();
        m_prefix = m_folder->path() + u'/';
        writeFile(m_prefix + fileName(SettingsType::RavonaConfDefault), m_content);
    }

    void run() override { system().load(m_prefix); }

    bool isCorrect() const override { return system().loadedSettings() == m_size; }

private:
    const int m_size;
    const bool m_isSilent;
    const QByteArray m_content;
    std::optional<QTemporaryDir> m_folder;
    QString m_prefix;
};

std::unique_ptr<Operation> readTop(const SystemInfo &info, int)
{
    const Settings targets = contents(SettingsType::Runtime);
    return std::make_unique<Read>(info, targets, targets.size());
}

std::unique_ptr<Operation> readBottom(const SystemInfo &info, int)
{
    const Settings targets = bottomSettings();
    return std::make_unique<Read>(info, targets, targets.size());
}

std::unique_ptr<Operation> readMissing(const SystemInfo &info, int)
{
    return std::make_unique<Read>(info, missingSettings(), 0);
}

std::unique_ptr<Operation> writeChanged(const SystemInfo &info, int)
{
    return std::make_unique<Write>(info, SettingsType::Runtime, true);
}

std::unique_ptr<Operation> writeChangedNumber(const SystemInfo &info, int)
{
    return std::make_unique<Write>(info, SettingsType::Runtime, true, firstNumber);
}

std::unique_ptr<Operation> writeEqual(const SystemInfo &info, int)
{
    return std::make_unique<Write>(info, SettingsType::Runtime, false);
}

std::unique_ptr<Operation> writeCustom(const SystemInfo &info, int)
{
    return std::make_unique<Write>(info, SettingsType::CustomConfPersistent, true);
}

template <bool isSilent> std::unique_ptr<Operation> load(const SystemInfo &info, int size)
{
    return std::make_unique<Load>(info, size, isSilent);
}

template <typename T> std::unique_ptr<Operation> sized(const SystemInfo &info, int size)
{
    return std::make_unique<T>(info, size);
}

} // namespace

Operation::Operation(const SystemInfo &info) : m_system(info.create()) { }

Operation::~Operation() = default;

void Operation::prepare() { }

const std::vector<OperationInfo> &operations()
{
    static const std::vector<OperationInfo> all{
            {"R1", {0}, false, 1, readTop},
            {"R2", {0}, false, 1, readBottom},
            {"R3", {0}, false, 1, readMissing},
            {"R4-top", {0}, false, 2, readTop},
            {"R4-bottom", {0}, false, 2, readBottom},
            {"W1", {0}, false, 1, writeChanged},
            {"W1-int", {0}, false, 1, writeChangedNumber},
            {"W2", {0}, false, 1, writeEqual},
            {"W3", {0}, false, 1, writeCustom},
            {"L1", {1000, 10000, 100000}, true, 1, sized<Registration>},
            {"L2", {1000, 10000, 100000}, false, 1, sized<Replacement>},
            {"L3", {1000, 10000, 100000}, true, 1, sized<Clearing>},
            {"I1", {10000}, true, 1, load<false>},
            {"I1-silent", {10000}, true, 1, load<true>},
    };
    return all;
}

bool offers(const SystemInfo &system, const OperationInfo &operation)
{
    const auto isIt = [&](const char *name) { return std::strcmp(name, operation.name) == 0; };
    return std::any_of(system.operations.cbegin(), system.operations.cend(), isIt);
}

} // namespace tamsel::bench
