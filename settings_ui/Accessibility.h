#pragma once

class QWidget;

namespace companion {

// What a screen reader is told of a widget stands in dynamic properties of the widget:
//
//   a11yRole          "radio"    for a button that can be checked: one of several, of which one is on
//                     "group", "picture", "dialog"
//                     "alert"    a message: its name, or a label's text, is spoken whenever it comes on the
//                                screen, whatever has the focus
//                     "partOf"   no control of its own: left out, as is all that lies in it
//   a11yUnit          of a slider: what its value counts, such as "%"
//   a11yStepsPerUnit  of a slider: how many of its steps are one of that; a reader hears whole units only
//
// A button's or a label's role must be set in its layout or its constructor, before its text. The rest may be
// set at any time. A widget with the role "partOf" is left out of parents that are plain widgets or frames
// with a role, not out of others.

// Makes the properties count for all widgets that are made from now on. Once an application object exists; to
// call it again does nothing.
void describeForScreenReaders();

} // namespace companion
