#pragma once

#include <QSslCertificate>
#include <QSslKey>

class QSslConfiguration;

/// A certificate that nobody signed but itself, made by the `openssl` program when it is asked for.
struct TestCertificate
{
    QSslCertificate certificate;
    QSslKey key;

    /// For `name`, for so many `days` from now; -1 has ended yesterday.
    static TestCertificate make(const QString& name = QStringLiteral("IP:127.0.0.1"), int days = 2);

    /// For a server that shows this certificate.
    QSslConfiguration forServer() const;
};
