#pragma once

#include <QTest>

#include <functional>
#include <memory>
#include <vector>

/// The base of every test class: a message that nobody expected fails the test, and each function, with each of its
/// rows, begins with new `Fresh` members. A class with an `init` or `cleanup` of its own calls those here.
class TestCase : public QObject
{
    Q_OBJECT

protected slots:
    /// Makes the `Fresh` members in the order of their declaration.
    virtual void init();
    /// Deletes the `Fresh` members in the opposite order.
    virtual void cleanup();

protected:
    /// Ends one case and begins the next one, in a function that goes through several: its members are new again.
    void restart()
    {
        cleanup();
        init();
    }

private:
    template <typename Value> friend class Fresh;

    struct Member
    {
        std::function<void()> make;
        std::function<void()> drop;
    };
    std::vector<Member> m_members;
};

/// A member of a test class, such as `Fresh<TestHome> m_home{this};`, that exists anew for each test function.
template <typename Value> class Fresh final
{
public:
    explicit Fresh(TestCase* test)
    {
        test->m_members.push_back({[this] { m_value = std::make_unique<Value>(); }, [this] { m_value.reset(); }});
    }
    Fresh(const Fresh&) = delete;
    Fresh& operator=(const Fresh&) = delete;
    ~Fresh() = default;

    Value& operator*() const { return *m_value; }
    Value* operator->() const { return m_value.get(); }

private:
    std::unique_ptr<Value> m_value;
};
