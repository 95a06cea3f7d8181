#include "platform/RuntimeError.h"

namespace platform {

RuntimeError::RuntimeError(int number) : RuntimeError(number, descriptionOf(number)) {}

RuntimeError::RuntimeError(int number, QString description)
    : number_(number), description_(std::move(description)) {
    what_ = reportText().toUtf8();
}

const char* RuntimeError::what() const noexcept {
    return what_.constData();
}

QString RuntimeError::descriptionOf(int number) {
    switch (number) {
    case 5:
        return QStringLiteral("Argument ou appel de procédure incorrect");
    case 6:
        return QStringLiteral("Dépassement de capacité");
    case 9:
        return QStringLiteral("L'indice n'appartient pas à la sélection");
    case 13:
        return QStringLiteral("Incompatibilité de type");
    case 52:
        return QStringLiteral("Nom ou numéro de fichier incorrect");
    case 53:
        return QStringLiteral("Fichier introuvable");
    case 57:
        return QStringLiteral("Erreur d'entrée/sortie de périphérique");
    case 61:
        return QStringLiteral("Disque plein");
    case 62:
        return QStringLiteral("Tentative de lecture après la fin du fichier");
    case 70:
        return QStringLiteral("Permission refusée");
    case 75:
        return QStringLiteral("Erreur d'accès chemin/fichier");
    case 76:
        return QStringLiteral("Chemin d'accès introuvable");
    case 424:
        return QStringLiteral("Objet requis");
    case 482:
        return QStringLiteral("Erreur d'imprimante");
    default:
        return QString();
    }
}

QString RuntimeError::reportText() const {
    return QStringLiteral("Erreur d'exécution '%1' :\n\n%2").arg(number_).arg(description_);
}

} // namespace platform
