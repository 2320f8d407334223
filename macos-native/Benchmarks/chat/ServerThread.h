#pragma once

#include "support/HttpServer.h"

#include <QThread>

#include <functional>
#include <memory>

/// A server in a thread of its own, as one in another process would be.
class ServerThread final
{
public:
    ServerThread(const std::function<std::unique_ptr<HttpServer>()>& make, const HttpServer::Script& script)
    {
        m_context.moveToThread(&m_thread);
        m_thread.start();
        inThread([this, &make, &script] {
            m_server = make();
            m_server->answerBy(script);
        });
    }
    ServerThread(const ServerThread&) = delete;
    ServerThread& operator=(const ServerThread&) = delete;
    ~ServerThread()
    {
        inThread([this] { m_server.reset(); });
        m_thread.quit();
        m_thread.wait();
    }

    QString url() const { return m_server->url(); }

private:
    void inThread(const std::function<void()>& work)
    {
        QMetaObject::invokeMethod(&m_context, work, Qt::BlockingQueuedConnection);
    }

    QThread m_thread;
    QObject m_context;
    std::unique_ptr<HttpServer> m_server;
};
