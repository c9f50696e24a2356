#pragma once

#include <QHash>
#include <QIcon>
#include <QTreeWidget>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "maintenance/LibraryTree.h"
#include "maintenance/SelectedNode.h"

namespace marrowkit {

/// The library as a tree: shows its nodes with their images and tells what the person does with them. Keys
/// are those of LibraryNode, as QString in the signals.
class LibraryView : public QTreeWidget {
    Q_OBJECT

public:
    explicit LibraryView(QWidget* parent);

    /// Shows these nodes instead of all there were; the root is expanded, everything below it collapsed.
    /// Loads the databases' own icons: an error of theirs (481) reaches the caller.
    void ShowNodes(const LibraryNode& root);
    /// Selects and expands a node and brings it into view. Nothing happens when there is none of that key.
    void SelectAndExpand(const std::string& key);
    /// Without a key when no node is selected.
    SelectedNode Selected() const;
    /// How many images there are to choose from: the built-in ones and the databases' own.
    std::size_t ImageCount() const { return ilstVellora_.size(); }

Q_SIGNALS:
    /// With the left button, or by an arrow key that led here.
    void NodeClicked(const QString& key);
    /// The selected node was double-clicked, or Enter pressed on it.
    void NodeDoubleClicked();
    /// A right click on this node, which need not be the selected one, or the context menu key on the
    /// selected.
    void MenuWanted(const QString& key, const QString& parentKey, const QPoint& globalPosition);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// The item of a node with those of all nodes below it, not yet in the tree.
    std::unique_ptr<QTreeWidgetItem> MakeItem(const LibraryNode& node);
    QIcon NodeIcon(const LibraryNode& node);
    void WantMenu(const QTreeWidgetItem& node, const QPoint& globalPosition);

    /// Built-in images at 0 to 4; behind them the start-up icons that databases bring along, new each time.
    std::vector<QIcon> ilstVellora_;
    QHash<QString, QTreeWidgetItem*> nodesByKey_;
};

}  // namespace marrowkit
