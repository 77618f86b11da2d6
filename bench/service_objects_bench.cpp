// Service records made into "service" objects (detailed), digested and
// printed, against tinyxml2 building and printing the same document
// directly from the same records, with none of the query's rules. At
// 1,000 and 100,000 records, five interleaved rounds, medians; the second
// table compares the time per record at both sizes. Asserts nothing.
#include <tinyxml2.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"
#include "metadata/service_objects.h"

namespace {

std::vector<ServiceRecord> MakeRecords(size_t count) {
  std::vector<ServiceRecord> records(count);
  for (size_t i = 0; i < count; ++i) {
    ServiceRecord& r = records[i];
    std::string n = std::to_string(i);
    r.keyName = "ZentBenchService" + n;
    r.displayName = "Zent Bench Service " + n;
    r.currentState = i % 3 == 0 ? 4 : 1;
    r.processId = r.currentState == 4 ? static_cast<uint32_t>(1000 + i) : 0;
    ServiceConfig config;
    config.binaryPathName = "C:\\Program Files\\Zent Bench\\service" + n + ".exe -service";
    config.startType = static_cast<uint32_t>(2 + i % 3);
    config.serviceType = 16;
    config.serviceStartName = "LocalSystem";
    config.loadOrderGroup = i % 2 ? "ZentGroup" : "";
    config.dependencies = std::string("RpcSs\0Tcpip\0\0", 13);
    r.config = config;
    r.description = u"A benchmark service of the Zent agent";
    r.failureActions = ServiceFailureActions{86400, std::nullopt, std::nullopt, {{1, 60000}, {1, 60000}, {0, 0}}};
  }
  return records;
}

size_t AgentDocument(const std::vector<ServiceRecord>& records) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "3", "1");
  for (const ServiceRecord& record : records) AddServiceObject(document, shell.hostMetaDatas, record, true);
  ComputeHash(shell.result);
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return static_cast<size_t>(printer.CStrSize());
}

void Put(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributes, const char* name, const char* value) {
  tinyxml2::XMLElement* a = document.NewElement("Attribute");
  attributes->InsertEndChild(a);
  a->SetAttribute("name", name);
  a->SetAttribute("value", value);
}

// The same elements and values, written straight from the records.
size_t DirectDocument(const std::vector<ServiceRecord>& records) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  tinyxml2::XMLElement* result = document.NewElement("HostMetaDataQueryResult");
  results->InsertEndChild(result);
  tinyxml2::XMLElement* list = document.NewElement("HostMetaDatas");
  result->InsertEndChild(list);
  for (const ServiceRecord& r : records) {
    tinyxml2::XMLElement* item = document.NewElement("HostMetaData");
    list->InsertEndChild(item);
    item->SetAttribute("type", "service");
    item->SetAttribute("identifier", r.keyName.c_str());
    tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
    item->InsertEndChild(attributes);
    const ServiceConfig& c = *r.config;
    Put(document, attributes, "displayName", r.displayName->c_str());
    Put(document, attributes, "running", r.currentState == 1 ? "false" : "true");
    Put(document, attributes, "processId", std::to_string(r.processId).c_str());
    Put(document, attributes, "state", std::to_string(r.currentState).c_str());
    Put(document, attributes, "stateFriendly", r.currentState == 4 ? "running" : "stopped");
    Put(document, attributes, "binaryPathName", c.binaryPathName.c_str());
    Put(document, attributes, "startType", std::to_string(c.startType).c_str());
    Put(document, attributes, "serviceType", std::to_string(c.serviceType).c_str());
    Put(document, attributes, "serviceStartName", c.serviceStartName.c_str());
    Put(document, attributes, "startTypeFriendly", "automatic");
    if (!c.loadOrderGroup.empty()) Put(document, attributes, "loadOrderGroup", c.loadOrderGroup.c_str());
    Put(document, attributes, "dependsOn", "RpcSs,Tcpip");
    Put(document, attributes, "description", "A");
    Put(document, attributes, "resetFailCountAfter", std::to_string(r.failureActions->resetPeriod).c_str());
    Put(document, attributes, "firstFailure", "60000,Restart");
    Put(document, attributes, "secondFailure", "60000,Restart");
    Put(document, attributes, "subsequentFailures", "0,None");
  }
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return static_cast<size_t>(printer.CStrSize());
}

}  // namespace

int main() {
  std::vector<ServiceRecord> small = MakeRecords(1000), large = MakeRecords(100000);
  size_t sink = 0;
  std::vector<double> t = InterleavedMedians(5, {
      {"agent 1,000", [&] { sink += AgentDocument(small); }},
      {"direct 1,000", [&] { sink += DirectDocument(small); }},
      {"agent 100,000", [&] { sink += AgentDocument(large); }},
      {"direct 100,000", [&] { sink += DirectDocument(large); }},
  });
  PrintRatio("1,000 service records: objects, digest, print", t[0], t[1], 2.0);
  PrintRatio("100,000 service records: objects, digest, print", t[2], t[3], 2.0);
  PrintRatio("per record at 100,000 against per record at 1,000", t[2] / 100000, t[0] / 1000, 1.5);
  std::printf("(%zu bytes printed)\n", sink);
  return 0;
}
