// The multi-command document: a Message root, its first Request, and every
// element from that Request on is one command, named by its cmd attribute.
#pragma once

#include <tinyxml2.h>

#include <string>

// The first command of the document: the first Request under the Message
// root; null when either is missing, which is a document without commands.
const tinyxml2::XMLElement* FirstCommand(const tinyxml2::XMLDocument& document);

// Writes one command, wrapped in a Message root of its own, to the file, in
// the printer's indented form. False when the file cannot be opened.
bool WriteCommandFile(const tinyxml2::XMLElement& command, const std::wstring& path);
