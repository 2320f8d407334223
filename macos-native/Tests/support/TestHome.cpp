#include "support/TestHome.h"

#include <QDir>

#include <array>

namespace {

constexpr std::array xdgVariables{"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"};

} // namespace

TestHome::TestHome() : m_homeBefore(qgetenv("HOME"))
{
    Q_ASSERT(m_folder.isValid());
    qputenv("HOME", QFile::encodeName(m_folder.path()));
    for (const char* variable : xdgVariables)
        qunsetenv(variable);
}

TestHome::~TestHome()
{
    qputenv("HOME", m_homeBefore);
}

QString TestHome::path(const QString& relative) const
{
    return relative.isEmpty() ? m_folder.path() : QDir(m_folder.path()).filePath(relative);
}
