#include "host/api/ExplainHandlers.h"

#include "host/Camera.h"
#include "host/api/Answers.h"
#include "host/api/ExplainDocuments.h"

namespace host::api {
Response getExplain(const Context& context, Problem& fault) {
    const std::optional<Look> look = readLook(context.match[0]);
    if (look) {
        return documentResponse(pictureDocument(context.snapshot,
                                                explain(context.snapshot, *look, context.language),
                                                context.language));
    }
    u32 key = 0;
    if (!readKeyOf(context, context.match[0], key, fault)) {
        return {};
    }
    return documentResponse(explanationDocument(
        context.snapshot,
        explain(context.snapshot, context.camera.journal(), key, context.language),
        context.language));
}

} // namespace host::api
