#pragma once

#include "shell/primitives/ViewController.h"

class JsonTable;
class Label;
class QHBoxLayout;

/// The Models tab: the catalogue of language models beside those installed here and their downloads, which can be
/// started and cancelled. Backend calls block. The lists change only when they are asked for and after an action.
class ModelsViewController final : public ViewController
{
    Q_OBJECT

public:
    explicit ModelsViewController(QWidget* parent = nullptr);

    /// Loads the catalogue anew.
    void refreshRemote();
    /// Loads the local models and the downloads anew.
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

    // All of them are this one's children.
    JsonTable* m_remoteTable = nullptr;
    JsonTable* m_localTable = nullptr;
    JsonTable* m_taskTable = nullptr;
    Label* m_localSummaryLabel = nullptr;
    Label* m_statusLabel = nullptr;
    QHBoxLayout* m_boxes = nullptr;
};
