import QtQml

// What a status that is shown in colour means, in the order of the model's own enumeration.
QtObject {
    enum Kind { Accent, Ok, Warn, Error, Muted }
}
