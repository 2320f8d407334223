#pragma once

#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTemporaryDir>

/// A certificate that nobody signed but itself, made by the `openssl` program when it is asked for.
struct TestCertificate
{
    QSslCertificate certificate;
    QSslKey key;

    /// For `name`, for so many `days` from now; -1 has ended yesterday.
    static TestCertificate make(const QString& name = QStringLiteral("IP:127.0.0.1"), int days = 2)
    {
        const QTemporaryDir folder;
        const QString certificateFile = folder.filePath(QStringLiteral("certificate.pem"));
        const QString keyFile = folder.filePath(QStringLiteral("key.pem"));
        runOpenssl(QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=Test "
                                  "-addext subjectAltName=%1 -out %2 -keyout %3")
                       .arg(name, certificateFile, keyFile));
        runOpenssl(QStringLiteral("x509 -in %1 -signkey %2 -days %3 -out %1").arg(certificateFile, keyFile).arg(days));
        QFile key(keyFile);
        if (!key.open(QFile::ReadOnly))
            qFatal("no key: %s", qPrintable(key.errorString()));
        return {QSslCertificate::fromPath(certificateFile).value(0), QSslKey(&key, QSsl::Ec)};
    }

    /// For a server that shows this certificate.
    QSslConfiguration forServer() const
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(certificate);
        configuration.setPrivateKey(key);
        configuration.setAllowedNextProtocols(
            {QSslConfiguration::ALPNProtocolHTTP2, QSslConfiguration::NextProtocolHttp1_1});
        return configuration;
    }

private:
    static void runOpenssl(const QString& arguments)
    {
        if (QProcess::execute(QStringLiteral("openssl"), arguments.split(QLatin1Char(' '))) != 0)
            qFatal("openssl makes no certificate");
    }
};
