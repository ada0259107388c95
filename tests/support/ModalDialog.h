#pragma once

#include <QApplication>
#include <QFileDialog>
#include <QTest>
#include <QTimer>

#include <functional>

// Acts on the modal dialog that the next call puts up, once it is up, as a person would.
template <typename Dialog>
void whenModal(std::function<void(Dialog *)> act)
{
    QTimer::singleShot(0, qApp, [act] {
        auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        act(dialog);
        // A check that failed inside leaves the dialog up; closing it ends the wait.
        if (dialog->isVisible())
            dialog->close();
    });
}

// Picks the file in the file dialog that the next call puts up, then accepts it or cancels.
inline void answerFileDialog(const QString &file, bool accept = true)
{
    whenModal<QFileDialog>([file, accept](QFileDialog *dialog) {
        dialog->selectFile(file);
        QMetaObject::invokeMethod(dialog, accept ? "accept" : "reject");
    });
}
