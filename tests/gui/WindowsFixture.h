#pragma once

#include <QTreeWidgetItem>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "gui/ModalDriver.h"
#include "platform/jet/format/Format.h"
#include "shell/frmMain.h"
#include "support/TemporaryFolder.h"

namespace marrowkit::test {

/// A library on drive C: of its own, a registry of its own, and the main window over them.
class Windows : public ::testing::Test {
protected:
    Windows();
    ~Windows() override;

    /// Host folder of C:\Vellora\.
    std::filesystem::path Library() const { return folder_ / "drive_c/Vellora"; }
    /// Puts Empty.mdb into the library.
    void AddTemplate(jet::JetVersion format = jet::JetVersion::Jet4);
    /// Makes a database folder; schema version 2.`minor`.
    void AddDatabase(const std::string& name, int minor = 5, jet::JetVersion format = jet::JetVersion::Jet4);

    void Open(const std::string& commandLine = "-NOMSGBOX");
    QTreeWidget& Tree() { return Child<QTreeWidget>(*window_, "tvVellora"); }
    QString Status() { return Child<QLabel>(*window_, "sbVelloraPanel1").text(); }
    QTreeWidgetItem* Node(const std::string& key);
    /// Selects a database's file node.
    void SelectDatabase(const std::string& name);
    /// Chooses a menu entry.
    void Trigger(const char* action);
    /// For death tests: answers the message boxes that come and writes each to stderr as "[title] text".
    void AnswerAndPrint(std::initializer_list<QMessageBox::StandardButton> answers);
    /// For death tests: from here on an ordinary user runs, who may read the library and change nothing in
    /// it.
    void MakeEverythingReadOnly() const;
    QAction& Action(const char* name) { return Child<QAction>(*window_, name); }

    static std::string DatabaseKey(const std::string& name) {
        return R"(C:\Vellora\)" + name + "\\" + name + ".mdb";
    }
    /// Each in a connection of its own.
    static void Execute(const std::string& database, std::string_view sql);
    /// First value of the first row, as text; "NULL", or "none" without a row.
    static std::string One(const std::string& database, std::string_view sql);
    /// What the full check complains about.
    std::vector<std::string> Problems(const std::string& database) const;

    TemporaryFolder folder_;
    ModalDriver driver_;
    std::unique_ptr<frmMain> window_;
};

}  // namespace marrowkit::test
