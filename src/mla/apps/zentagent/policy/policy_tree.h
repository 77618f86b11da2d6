// The walk over the manager's policy document that every pass of the load
// shares, and the copying of an element's attributes into an AttrMap.
#pragma once

#include <tinyxml2.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "policy/attr_map.h"

// The element found by path below Message, Request, SecurityConfiguration,
// or null. Each level takes the first child element of its name, so a
// second Message, Request, SecurityConfiguration or Interfaces is never
// seen; a missing level ends the pass without a word.
//
// A pass goes on from the element with every following sibling element
// (NextSiblingElement()), whatever its name: only the first one's name is
// tested, and a PacketFilterSetting so takes in the attributes of every
// element behind it. The policy's readers rely on that.
const tinyxml2::XMLElement* FirstPolicyElement(const tinyxml2::XMLDocument& doc,
                                               std::initializer_list<const char*> path);

// Every attribute of the element, its name after prefix.
void CopyAttributes(const tinyxml2::XMLElement& element, AttrMap& map, std::string_view prefix = {});

// How many attributes the element has, to size its AttrMap at once.
size_t AttributeCount(const tinyxml2::XMLElement& element);

// Stores the entry under the value of its attribute keyName; an entry
// without it is dropped.
void StoreByKey(AttrMapIndex& index, const char* keyName, std::unique_ptr<AttrMap> entry);

// Each element the path finds, attribute for attribute, under its id.
void ReadById(const tinyxml2::XMLDocument& doc, std::initializer_list<const char*> path, AttrMapIndex& index);

// Reads an attribute's text by the strict integer rule. A bad number logs,
// at level 1, the element and the attribute that held it, and gives -1.
int ReadStrictAttribute(const char* element, const tinyxml2::XMLAttribute& attribute, int32_t& value);
