#pragma once

#include "shell/primitives/ViewController.h"

class JsonTable;
class Label;
class QHBoxLayout;
class StatusLine;

/// The Models tab: shows the catalogue of language models, the installed models and the downloads, and starts and
/// cancels downloads. Backend calls block. The lists change only when the user refreshes them and after an action.
class ModelsViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit ModelsViewController(QWidget* parent = nullptr);

    /// Loads the catalogue again.
    void refreshRemote();
    /// Loads the local models and the downloads again.
    void refreshRight();
    /// Starts a download of the model that is selected in the catalogue.
    void downloadSelected();
    /// Cancels the selected download.
    void cancelSelectedTask();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QHBoxLayout* makeToolbar();
    QHBoxLayout* makeBoxes();
    void divideWidth();

    // All of these are children of this.
    JsonTable* m_remoteTable = nullptr;
    JsonTable* m_localTable = nullptr;
    JsonTable* m_taskTable = nullptr;
    Label* m_localSummaryLabel = nullptr;
    StatusLine* m_statusLabel = nullptr;
    QHBoxLayout* m_boxes = nullptr;
};
