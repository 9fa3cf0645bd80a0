#pragma once
// A prompt for tests: records every question and answers from queues the test fills.
#include <QList>
#include <QQueue>

#include <memory>

#include "support/Prompt.h"

namespace kvtest {

class ScriptedPrompt : public kvmail::IPrompt {
 public:
  enum class Kind { MessageBox, OpenFiles, SaveFile, PickColour, OpenWithDesktop, PrintFile };

  struct Record {
    Kind kind = Kind::MessageBox;
    QString text{};   // message text, or the path given to openWithDesktop or printFile
    QString title{};  // box or dialog title
    kvmail::PromptIcon icon = kvmail::PromptIcon::None;
    kvmail::PromptButtons buttons = kvmail::PromptButtons::Ok;
    QString filter{};
    QString folder{};  // initial folder or suggested path
    bool multiple = false;
    QColor colour{};  // initial colour of the picker
  };

  // Answers are taken in order; when a queue is empty the default is used: the first button
  // (Ok, or Yes), a cancelled file or colour dialog, and a started program.
  void answer(kvmail::PromptAnswer a) { answers_.enqueue(a); }
  void answerOpenFiles(const QStringList& paths) { openFiles_.enqueue(paths); }
  void answerSaveFile(const QString& path) { saveFiles_.enqueue(path); }
  void answerColour(std::optional<QColor> colour) { colours_.enqueue(colour); }
  void answerOpenWithDesktop(bool started) { opened_.enqueue(started); }

  const QList<Record>& records() const { return records_; }
  QList<Record> records(Kind kind) const;
  int count(Kind kind) const { return static_cast<int>(records(kind).size()); }
  // The message-box texts in order.
  QStringList messages() const;
  void clear() { records_.clear(); }

  kvmail::PromptAnswer messageBox(const QString& text, const QString& title,
                                  kvmail::PromptIcon icon,
                                  kvmail::PromptButtons buttons = kvmail::PromptButtons::Ok,
                                  QWidget* parent = nullptr) override;
  QStringList openFiles(const QString& title, const QString& filter, const QString& folder,
                        bool multiple, QWidget* parent = nullptr) override;
  QString saveFile(const QString& title, const QString& filter, const QString& suggestedPath,
                   QWidget* parent = nullptr) override;
  std::optional<QColor> pickColour(const QColor& initial, QWidget* parent = nullptr) override;
  bool openWithDesktop(const QString& path) override;
  // Recorded, then printed for real into a PDF beside the file.
  QString printFile(const QString& path, QWidget* parent = nullptr) override;

 private:
  QList<Record> records_;
  QQueue<kvmail::PromptAnswer> answers_;
  QQueue<QStringList> openFiles_;
  QQueue<QString> saveFiles_;
  QQueue<std::optional<QColor>> colours_;
  QQueue<bool> opened_;
};

// Installs a fresh ScriptedPrompt for a scope and puts the previous prompt back afterwards.
class ScopedPrompt {
 public:
  ScopedPrompt();
  ~ScopedPrompt();
  ScopedPrompt(const ScopedPrompt&) = delete;
  ScopedPrompt& operator=(const ScopedPrompt&) = delete;

  ScriptedPrompt* operator->() const { return scripted_.get(); }
  ScriptedPrompt& operator*() const { return *scripted_; }

 private:
  std::shared_ptr<ScriptedPrompt> scripted_;
  std::shared_ptr<kvmail::IPrompt> previous_;
};

}  // namespace kvtest
