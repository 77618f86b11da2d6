// The direct HTTP path's handling of a reply: a test server's command
// document, run on the dispatcher's thread without the heartbeat's
// bookkeeping (no registry times, no policy labels, no notify event).
#pragma once

#include <cstdint>
#include <string>

// http_request.xml and http_response.xml, in the working directory: both stay
// until the next reply is processed.
inline constexpr wchar_t kHttpRequestXmlName[] = L"http_request.xml";
inline constexpr wchar_t kHttpResponseXmlName[] = L"http_response.xml";

// Cuts the raw response in place down to its JSON object and writes the
// member request to xmlPath, in text mode. True when the XML was written.
bool putJasonToFile(std::string& response, const std::wstring& xmlPath);

// Runs the command document of a reply: a metadata query, posted back to the
// same destination, or a deployment. True when it was carried out.
bool processHttpResponse(const std::string& target, uint16_t port, uint8_t machineId, std::string& response);

// Posts the result file back as an UpdateHostMetaData message; the server's
// answer is read and dropped. The result of the exchange.
bool PostBackMetaData(const std::string& target, uint16_t port, uint8_t machineId, const std::wstring& resultPath);
