#pragma once

#include <QWidget>

/// The content of a window or a tab: a widget that builds itself once, and is told when it appears and disappears.
///
/// `loadView()` and then `viewDidLoad()` run once: when the container asks for the view, or else when it is first
/// shown. `viewDidAppear()` runs from the event loop each time the view has become visible. `viewWillDisappear()` runs
/// once for each of these, as soon as the view is hidden. Minimising and restoring a window calls neither.
class ViewController : public QWidget
{
    Q_OBJECT

public:
    explicit ViewController(QWidget* parent = nullptr);

    /// Builds the view if it is not built yet.
    void loadViewIfNeeded();

    // A hidden view needs no room. A container of tabs asks all its pages, and each would lay itself out to answer.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    /// Creates and lays out the controls, without data.
    virtual void loadView() = 0;
    /// Loads the data that the view shows. The view is built.
    virtual void viewDidLoad();
    virtual void viewDidAppear();
    virtual void viewWillDisappear();

    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void announceAppearance();

    bool m_isLoaded = false;
    bool m_hasAppeared = false;
};
