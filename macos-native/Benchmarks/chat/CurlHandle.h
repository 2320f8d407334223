#pragma once

#include "Pairs.h"

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

/// The bare side of a transfer: libcurl on one handle, which keeps its connection.
class CurlHandle final
{
public:
    CurlHandle(const QString& url, const QByteArray& authoritiesFile) : m_handle(curl_easy_init())
    {
        curl_easy_setopt(m_handle, CURLOPT_URL, url.toUtf8().constData());
        curl_easy_setopt(m_handle, CURLOPT_CAINFO, authoritiesFile.constData());
        curl_easy_setopt(m_handle, CURLOPT_NOPROXY, "*");
        curl_easy_setopt(m_handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
        curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, append);
        m_headers = curl_slist_append(m_headers, "Content-Type: application/json");
        m_headers = curl_slist_append(m_headers, "Expect:");
        curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    }
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;
    ~CurlHandle()
    {
        curl_easy_cleanup(m_handle);
        curl_slist_free_all(m_headers);
    }

    double exchange(const QByteArray& text)
    {
        return Pairs::millisecondsOf([this, &text] {
            QByteArray reply;
            curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, text.constData());
            curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(text.size()));
            curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &reply);
            if (const CURLcode failure = curl_easy_perform(m_handle); failure != CURLE_OK)
                qFatal("%s", curl_easy_strerror(failure));
            if (reply.isEmpty())
                qFatal("there is no reply");
        });
    }

private:
    static std::size_t append(char* bytes, std::size_t size, std::size_t count, void* destination)
    {
        static_cast<QByteArray*>(destination)->append(bytes, static_cast<qsizetype>(size * count));
        return size * count;
    }

    CURL* m_handle;
    curl_slist* m_headers = nullptr;
};
