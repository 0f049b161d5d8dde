import QtQuick

Text { text: "Photos" }
