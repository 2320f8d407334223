#pragma once

#include <QTemporaryDir>

/// A disk of its own, mounted on a temporary folder while the object lives, to be filled up or made read-only. Linux
/// only, where the tests run.
class SmallDisk final
{
public:
    /// Gives this process mounts that no other sees, and the right to make them. To be called first thing in `main`,
    /// while there is one thread. Ends the program where the system does not allow it.
    static void allowMounts();

    explicit SmallDisk(qint64 size = 262'144);
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk();

    /// The absolute path of `relative` on it; its own without.
    QString path(const QString& relative = QString()) const;
    /// Takes up all its room but `rest` bytes, which is rounded down to whole pages.
    void fill(qint64 rest = 0) const;
    /// Gives the room back.
    void empty() const;
    void makeReadOnly() const;

private:
    QTemporaryDir m_folder;
};
