#pragma once

#include "base/FileDescriptor.h"

#include <QObject>

#include <array>
#include <csignal>

/// Turns the signals that ask a program to end (SIGTERM, SIGINT, SIGHUP) into a Qt signal, so that it can end as if the
/// user had quit. A second signal ends it at once. A signal that was ignored at the start stays ignored. There may be
/// one object at a time. See "Calling Qt Functions From Unix Signal Handlers" in Qt's documentation.
class TerminationSignals final : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals() override;

signals:
    void received();

private:
    static constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

    FileDescriptor m_readEnd;
    FileDescriptor m_writeEnd;
    std::array<struct sigaction, terminationSignals.size()> m_actionsBefore{};
};
