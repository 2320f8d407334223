#pragma once

#include "base/FileDescriptor.h"

#include <QObject>

#include <filesystem>

/// Where later starts of the program tell the running one that the user wants it: a socket that only the user can
/// reach. A connection says it all, nothing is read from it.
class InstanceDoor final : public QObject
{
    Q_OBJECT

public:
    /// Opens the door in `folder`, in place of one that a killed program left. To be called by the first instance only.
    /// Where no socket can be made, nobody knocks.
    explicit InstanceDoor(std::filesystem::path folder, QObject* parent = nullptr);
    InstanceDoor(const InstanceDoor&) = delete;
    InstanceDoor& operator=(const InstanceDoor&) = delete;
    ~InstanceDoor() override;

    /// Whether somebody is behind the door in `folder` and will hear of this.
    static bool knock(const std::filesystem::path& folder);

signals:
    void knocked();

private:
    void answer();

    std::filesystem::path m_folder;
    FileDescriptor m_socket;
};
