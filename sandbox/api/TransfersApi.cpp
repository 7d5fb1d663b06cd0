#include "sandbox/api/TransfersApi.h"

#include "sandbox/api/Answers.h"

namespace tovri::sandbox {

std::optional<HttpResponse> TransfersApi::answer(const ApiCall& call) {
    if (call.isGet("/transfers/list")) return list();
    if (call.isPost("/transfers/add")) return add(call);
    if (call.isPost("/transfers/cancel")) return cancel(call);
    if (call.isPost("/transfers/retry")) return retry(call);
    if (!call.isPost("/transfers/clean")) return std::nullopt;
    transfers_.clean();
    return okAnswer();
}

HttpResponse TransfersApi::list() const {
    JsonWriter json;
    json.beginObject().key("transfers").beginArray();
    for (const Transfer& transfer : transfers_.list()) transfers_.write(json, transfer);
    return jsonAnswer(json.endArray().field("status", "OK").endObject());
}

HttpResponse TransfersApi::add(const ApiCall& call) {
    if (call.text("url").empty()) return errorAnswer(400, "BadRequest", "url is missing.");
    NewTransfer wanted{.source = std::string(call.text("url"))};
    wanted.saveParentID = call.number("save_parent_id").value_or(rootID);
    wanted.extract = call.isTrue("extract");
    return show(transfers_.add(std::move(wanted)));
}

HttpResponse TransfersApi::cancel(const ApiCall& call) {
    const std::vector<std::int64_t> ids = call.numbers("transfer_ids");
    if (ids.empty()) return errorAnswer(400, "BadRequest", "transfer_ids is missing.");
    for (const std::int64_t id : ids) transfers_.cancel(id);
    return okAnswer();
}

HttpResponse TransfersApi::retry(const ApiCall& call) {
    const std::optional<Transfer> transfer = transfers_.retry(call.number("id").value_or(0));
    return transfer ? show(*transfer) : notFoundAnswer();
}

HttpResponse TransfersApi::show(const Transfer& transfer) const {
    JsonWriter json;
    transfers_.write(json.beginObject().key("transfer"), transfer);
    return jsonAnswer(json.field("status", "OK").endObject());
}

}  // namespace tovri::sandbox
