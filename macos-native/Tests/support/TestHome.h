#pragma once

#include <QByteArray>
#include <QTemporaryDir>

/// A home folder of its own for one test: HOME and the XDG folders lie in it while the object lives, and nothing of it
/// is left afterwards.
class TestHome final
{
public:
    TestHome();
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;
    ~TestHome();

    /// Its absolute path, or that of `relative` in it.
    QString path(const QString& relative = QString()) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_homeBefore;
};
