#pragma once

#include <QWidget>

/// The content of a window or a tab: a widget that builds itself once and is told when it comes and goes.
///
/// `loadView()` and then `viewDidLoad()` run once, when the container asks for the view or, at the latest, when it is
/// first shown. `viewDidAppear()` runs each time it has become visible, from the event loop; `viewWillDisappear()` runs
/// for each of those once it is hidden, before anything else happens. Minimising a window and restoring it is neither.
class ViewController : public QWidget
{
    Q_OBJECT

public:
    explicit ViewController(QWidget* parent = nullptr);

    /// Builds the view unless that was done already.
    void loadViewIfNeeded();

protected:
    /// Creates and lays out the controls; no data yet.
    virtual void loadView() = 0;
    /// The view is built: load what it shows.
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
