#include "support/TestCertificate.h"

#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>

TestCertificate TestCertificate::make()
{
    const QTemporaryDir folder;
    const QString certificateFile = folder.filePath(QStringLiteral("certificate.pem"));
    const QString keyFile = folder.filePath(QStringLiteral("key.pem"));
    const QString command =
        QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=Test "
                       "-addext subjectAltName=IP:127.0.0.1 -out %1 -keyout %2")
            .arg(certificateFile, keyFile);
    if (QProcess::execute(QStringLiteral("openssl"), command.split(QLatin1Char(' '))) != 0)
        qFatal("openssl makes no certificate");
    QFile key(keyFile);
    if (!key.open(QFile::ReadOnly))
        qFatal("no key: %s", qPrintable(key.errorString()));
    return {QSslCertificate::fromPath(certificateFile).value(0), QSslKey(&key, QSsl::Ec)};
}

QSslConfiguration TestCertificate::forServer() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(key);
    configuration.setAllowedNextProtocols(
        {QSslConfiguration::ALPNProtocolHTTP2, QSslConfiguration::NextProtocolHttp1_1});
    return configuration;
}
