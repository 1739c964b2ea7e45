#include "model_faults.h"

#include <string>

#include "model_methods.h"
#include "platform/http_transport.h"

namespace qbrk::model {

HandlerResponse HandleWithFault(ModelService& model, const HandlerRequest& request,
                                const Fault& fault) {
  switch (fault.kind) {
    case FaultKind::kNone:
      return model.Handle(request);
    case FaultKind::kStatus: {
      HandlerResponse answer = RefusalAnswer({static_cast<int>(fault.status), "injected fault"});
      answer.headers.emplace_back("Content-Length", std::to_string(answer.body.size()));
      if (request.method == "HEAD") answer.body.clear();
      return answer;
    }
    case FaultKind::kCutRequest: {
      HandlerResponse answer;
      if (fault.error != 0) {
        answer.fail_at = FailStep::kEnd;
        answer.error = fault.error;
      } else {
        answer.status = 0;
        answer.connection_cut = true;
      }
      return answer;
    }
    case FaultKind::kCutResponse: {
      HandlerResponse answer = model.Handle(request);
      if (fault.keep_bytes < answer.body.size()) answer.body.resize(fault.keep_bytes);
      answer.connection_cut = true;
      return answer;
    }
    case FaultKind::kTimeout: {
      if (fault.applied) model.Handle(request);
      HandlerResponse answer;
      answer.fail_at = FailStep::kEnd;
      answer.error = fault.error != 0 ? fault.error : net_error::kTimeout;
      return answer;
    }
  }
  return model.Handle(request);
}

}  // namespace qbrk::model
