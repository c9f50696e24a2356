#include "gui/WindowsFixture.h"

#include <QAction>
#include <QTest>
#include <QTreeWidgetItemIterator>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "creation/TemplateDatabase.h"
#include "forms/QtText.h"
#include "global/modGlobal.h"
#include "import/ImportSettings.h"
#include "platform/dao/Dao.h"
#include "platform/files/HostPath.h"
#include "platform/jet/check/Check.h"
#include "platform/jet/engine/Database.h"
#include "platform/jet/format/ValueText.h"

namespace marrowkit::test {

Windows::Windows() {
    std::filesystem::create_directories(Library());
    UseDrives(DriveMap({{'C', (folder_ / "drive_c").string()}}));
    modGlobal::LibraryRoot = R"(C:\Vellora\)";
    modGlobal::Expert = false;
    setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    GlobalImportSettings() = ImportSettings{};
}

Windows::~Windows() {
    window_.reset();
    UseDrives(DriveMap());
}

void Windows::AddTemplate(jet::JetVersion format) {
    CreateTemplateDatabase(R"(C:\Vellora\Empty.mdb)", format, SchemaVersion{2, 5});
}

void Windows::AddDatabase(const std::string& name, int minor, jet::JetVersion format) {
    std::filesystem::create_directories(Library() / name / "Scripts");
    CreateTemplateDatabase(DatabaseKey(name), format, SchemaVersion{2, minor});
}

void Windows::Open(const std::string& commandLine) {
    window_ = std::make_unique<frmMain>(commandLine);
    window_->Start();
    // Shortcuts work in the active window only.
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
}

QTreeWidgetItem* Windows::Node(const std::string& key) {
    for (QTreeWidgetItemIterator it(&Tree()); *it != nullptr; ++it) {
        if ((*it)->data(0, Qt::UserRole).toString() == ToQt(key)) return *it;
    }
    return nullptr;
}

void Windows::SelectDatabase(const std::string& name) {
    QTreeWidgetItem* node = Node(DatabaseKey(name));
    ASSERT_NE(node, nullptr) << name;
    Tree().setCurrentItem(node);
}

void Windows::Trigger(const char* action) {
    Action(action).trigger();
}

void Windows::AnswerAndPrint(std::initializer_list<QMessageBox::StandardButton> answers) {
    for (const QMessageBox::StandardButton answer : answers) driver_.AnswerBox(answer);
    driver_.OnWindow([](QWidget& window) {
        if (const auto* box = qobject_cast<QMessageBox*>(&window)) {
            std::fprintf(stderr, "[%s] %s\n", qPrintable(box->windowTitle()), qPrintable(box->text()));
        }
    });
}

void Windows::MakeEverythingReadOnly() const {
    using std::filesystem::perms;
    const auto readOnly = perms::owner_read | perms::owner_exec | perms::group_read | perms::group_exec |
                          perms::others_read | perms::others_exec;
    std::filesystem::permissions(folder_.Path(), readOnly);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.Path()))
        std::filesystem::permissions(entry.path(), readOnly);
    constexpr uid_t kNobody = 65534;  // permissions do not bind root
    if (geteuid() == 0 && seteuid(kNobody) != 0) ADD_FAILURE() << "cannot become an ordinary user";
}

void Windows::Execute(const std::string& database, std::string_view sql) {
    dao::Database connection = dao::DBEngine().OpenDatabase(DatabaseKey(database));
    connection.Execute(sql);
    connection.Close();
}

std::string Windows::One(const std::string& database, std::string_view sql) {
    dao::Database connection = dao::DBEngine().OpenDatabase(DatabaseKey(database));
    dao::Recordset records = connection.OpenRecordset(sql, dao::RecordsetType::Snapshot);
    if (records.EOF_()) return "none";
    const jet::Value value = records.Fields(std::size_t{0}).Value();
    return jet::IsNull(value) ? "NULL" : jet::ValueText(value);
}

std::vector<std::string> Windows::Problems(const std::string& database) const {
    std::vector<std::string> problems;
    for (const jet::Problem& problem : jet::Check((Library() / database / (database + ".mdb")).string())) {
        problems.push_back(problem.ToText());
    }
    return problems;
}

}  // namespace marrowkit::test
