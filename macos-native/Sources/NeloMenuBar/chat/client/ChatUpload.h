#pragma once

#include <QIODevice>

#include <functional>

/// The body of a request, which is kept from being sent twice. When a connection ends before the answer is complete,
/// QNetworkAccessManager sends the request again on another one, up to three times; it asks the body to go back to its
/// beginning first, and this one refuses.
class ChatUpload final : public QIODevice
{
    Q_OBJECT

public:
    explicit ChatUpload(QByteArray bytes);

    /// Asks `mayBeSentAgain` from now on, whenever the body is to go back to its beginning.
    void setPolicy(std::function<bool()> mayBeSentAgain);

    qint64 size() const override { return m_bytes.size(); }
    bool reset() override;

protected:
    qint64 readData(char* data, qint64 maximum) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray m_bytes;
    std::function<bool()> m_mayBeSentAgain;
};
