#pragma once

#include <QString>

namespace platform {

enum class MsgButtons { Ok, YesNo, YesNoCancel };
enum class MsgIcon { None, Critical, Information, Question };
enum class MsgAnswer { Ok, Yes, No, Cancel };

// The message box service. A box with an empty title is titled "Tovalin".
class MessageBoxService {
public:
    virtual ~MessageBoxService() = default;
    virtual MsgAnswer show(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                           const QString& title = QString()) = 0;
};

// The text input box: "OK" returns the text, "Annuler" and the close box "".
class InputBoxService {
public:
    virtual ~InputBoxService() = default;
    virtual QString ask(const QString& prompt, const QString& title,
                        const QString& defaultReply) = 0;
};

// The common file dialog. Like the dialog control it stands for, it keeps
// its filter index from one use to the next (1 at first); a cancelled dialog
// returns the name it was given and the index it had.
struct FileDialogResult {
    QString fileName;  // full name
    QString fileTitle; // name without folder
    int filterIndex = 1;
};

class FileDialogService {
public:
    virtual ~FileDialogService() = default;
    // filter: "description|pattern|description|pattern..."
    virtual FileDialogResult showOpen(const QString& initialName, const QString& filter) = 0;
    virtual FileDialogResult showSave(const QString& initialName, const QString& filter) = 0;
};

// The title every box without a title of its own gets.
QString DefaultBoxTitle();
// A prompt as the boxes show it: a lone CR, a lone LF and CR LF each start a
// new line (the DXF height question joins its lines with a lone CR).
QString BoxPromptText(const QString& prompt);

} // namespace platform
