#include "shell/LibraryView.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

#include "forms/QtText.h"
#include "platform/files/HostPath.h"
#include "shell/Images.h"

namespace marrowkit {
namespace {

constexpr int kKeyRole = Qt::UserRole;
constexpr std::size_t kBuiltInImages = 5;

QString KeyOf(const QTreeWidgetItem& node) {
    return node.data(0, kKeyRole).toString();
}
QString ParentKeyOf(const QTreeWidgetItem& node) {
    return node.parent() != nullptr ? KeyOf(*node.parent()) : QString();
}

}  // namespace

LibraryView::LibraryView(QWidget* parent) : QTreeWidget(parent) {
    setObjectName(QStringLiteral("tvVellora"));
    setAccessibleName(QStringLiteral("Library"));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (const char* image : {"vellora", "access", "folder", "inifile", "textfile"}) {
        ilstVellora_.push_back(BuiltInImage(image));
    }
    connect(this, &QTreeWidget::itemClicked, this,
            [this](const QTreeWidgetItem* node) { Q_EMIT NodeClicked(KeyOf(*node)); });
    connect(this, &QTreeWidget::itemDoubleClicked, this, [this] { Q_EMIT NodeDoubleClicked(); });
}

void LibraryView::ShowNodes(const LibraryNode& root) {
    setUpdatesEnabled(false);
    clear();
    nodesByKey_.clear();
    ilstVellora_.resize(kBuiltInImages);
    // The items are made first and put into the tree at once: the tree looks around at every item it is
    // given.
    std::unique_ptr<QTreeWidgetItem> made = MakeItem(root);
    QTreeWidgetItem* rootItem = made.get();
    addTopLevelItem(made.release());
    QFont bold = rootItem->font(0);
    bold.setBold(true);
    rootItem->setFont(0, bold);
    rootItem->setExpanded(true);
    setUpdatesEnabled(true);
}

std::unique_ptr<QTreeWidgetItem> LibraryView::MakeItem(const LibraryNode& node) {
    auto item = std::make_unique<QTreeWidgetItem>();
    const QString key = ToQt(node.key);
    item->setText(0, ToQt(node.text));
    item->setData(0, kKeyRole, key);
    item->setIcon(0, NodeIcon(node));
    nodesByKey_.insert(key, item.get());
    QList<QTreeWidgetItem*> children;
    children.reserve(static_cast<qsizetype>(node.children.size()));
    for (const LibraryNode& child : node.children) children.push_back(MakeItem(child).release());
    item->addChildren(children);
    return item;
}

QIcon LibraryView::NodeIcon(const LibraryNode& node) {
    if (node.image != TreeImage::Own) return ilstVellora_[static_cast<std::size_t>(node.image)];
    ilstVellora_.push_back(LoadStartupIcon(HostPath(node.ownImagePath)));
    return ilstVellora_.back();
}

void LibraryView::SelectAndExpand(const std::string& key) {
    QTreeWidgetItem* node = nodesByKey_.value(ToQt(key), nullptr);
    if (node == nullptr) return;
    setCurrentItem(node);
    node->setExpanded(true);
    scrollToItem(node);
}

SelectedNode LibraryView::Selected() const {
    const QTreeWidgetItem* node = currentItem();
    if (node == nullptr) return {};
    SelectedNode selected{FromQt(KeyOf(*node)), FromQt(node->text(0)), FromQt(ParentKeyOf(*node)), {}};
    if (node->parent() != nullptr) selected.parentText = FromQt(node->parent()->text(0));
    return selected;
}

void LibraryView::WantMenu(const QTreeWidgetItem& node, const QPoint& globalPosition) {
    Q_EMIT MenuWanted(KeyOf(node), ParentKeyOf(node), globalPosition);
}

// The menu is that of the node under the pointer; what is selected stays so, and is what the menu acts on.
void LibraryView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::RightButton) return QTreeWidget::mousePressEvent(event);
    if (const QTreeWidgetItem* node = itemAt(event->position().toPoint())) {
        WantMenu(*node, event->globalPosition().toPoint());
    }
}

void LibraryView::contextMenuEvent(QContextMenuEvent* event) {
    event->accept();
    if (event->reason() != QContextMenuEvent::Keyboard) return;  // of the mouse: the click brought it
    const QTreeWidgetItem* node = currentItem();
    if (node == nullptr) return;
    scrollToItem(node);
    WantMenu(*node, viewport()->mapToGlobal(visualItemRect(node).center()));
}

void LibraryView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        Q_EMIT NodeDoubleClicked();
        return;
    }
    const QTreeWidgetItem* before = currentItem();
    QTreeWidget::keyPressEvent(event);
    const QTreeWidgetItem* now = currentItem();
    if (now != nullptr && now != before) Q_EMIT NodeClicked(KeyOf(*now));
}

}  // namespace marrowkit
