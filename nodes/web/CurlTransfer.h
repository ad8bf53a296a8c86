// One transfer of libcurl that can be stopped.
#pragma once

#include <curl/curl.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>

namespace OrvWorkFlow::Nodes {

struct CurlTransfer {
  CurlTransfer();
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;
  ~CurlTransfer();

  void AddHeader(const std::string& header);
  // False when it was stopped. Throws what a callback left in `problem`, and HttpProblem.
  bool Run(const std::function<bool()>& stop_wanted);

  CURL* easy;
  curl_slist* headers = nullptr;
  bool stopped = false;        // set by callbacks
  std::exception_ptr problem;  // likewise
  char error[CURL_ERROR_SIZE] = {};
};

}  // namespace OrvWorkFlow::Nodes
