#pragma once

#include <QSslCertificate>
#include <QSslKey>

class QSslConfiguration;

/// A certificate for 127.0.0.1 that nobody signed but itself, made by the `openssl` program when it is asked for.
struct TestCertificate
{
    QSslCertificate certificate;
    QSslKey key;

    static TestCertificate make();

    /// For a server that shows this certificate.
    QSslConfiguration forServer() const;
};
