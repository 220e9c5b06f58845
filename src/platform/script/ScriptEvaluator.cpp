#include "platform/script/ScriptEvaluator.h"

#include "platform/files/Files.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

using namespace ScriptProgram;

namespace {

constexpr std::string_view applicationName = "Notes";
constexpr std::size_t deepestCalls = 8;
constexpr std::size_t mostSteps = 10000;

} // namespace

Result<ScriptValue, ScriptError> ScriptEvaluator::run()
{
    Frame frame;
    auto completion = run(program_.body, frame);
    if (completion) return std::move(completion->value);
    takeBack();
    return failure(std::move(completion.error()));
}

void ScriptEvaluator::takeBack()
{
    for (; !madeNotes_.empty(); madeNotes_.pop_back()) application_->deleteNote(madeNotes_.back());
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion> ScriptEvaluator::run(const Block& block,
                                                                           Frame& frame)
{
    Completion last;
    for (const Statement& statement : block) {
        auto completion = run(statement, frame);
        if (!completion || completion->returned) return completion;
        last = *std::move(completion);
    }
    return last;
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion>
ScriptEvaluator::run(const Statement& statement, Frame& frame)
{
    line_ = statement.line;
    return std::visit([&](const auto& kind) { return run(kind, frame); }, statement.value);
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion>
ScriptEvaluator::run(const Expression& expression, Frame& frame)
{
    return evaluate(expression, frame).map([](ScriptValue&& value) {
        return Completion{std::move(value)};
    });
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion> ScriptEvaluator::run(const Tell& tell,
                                                                           Frame& frame)
{
    if (tell.application != applicationName) {
        return failure(error(ScriptErrorNumber::notFound,
                             fmt::format("Can't get application \"{}\".", tell.application)));
    }
    if (!application_) application_ = open_();
    const bool before = std::exchange(frame.tells, true);
    auto completion = run(tell.body, frame);
    frame.tells = before;
    return completion;
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion> ScriptEvaluator::run(const If& conditional,
                                                                           Frame& frame)
{
    const auto condition = evaluate(conditional.condition, frame).and_then([&](const auto& value) {
        return as<bool>(value, "a condition");
    });
    if (!condition) return failure(condition.error());
    if (!*condition) return Completion{};
    return run(conditional.body, frame);
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion> ScriptEvaluator::run(const Set& assignment,
                                                                           Frame& frame)
{
    auto value = evaluate(assignment.value, frame);
    if (!value) return failure(std::move(value.error()));
    frame.variables.insert_or_assign(assignment.variable, *value);
    return Completion{*std::move(value)};
}

ScriptEvaluator::Outcome<ScriptEvaluator::Completion> ScriptEvaluator::run(const Return& returning,
                                                                           Frame& frame)
{
    if (!returning.value) return Completion{{}, true};
    return evaluate(*returning.value, frame).map([](ScriptValue&& value) {
        return Completion{std::move(value), true};
    });
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const Expression& expression,
                                                                Frame& frame)
{
    line_ = expression.line;
    if (++steps_ > mostSteps) {
        return failure(error(ScriptErrorNumber::stackOverflow, "The script takes too many steps."));
    }
    return std::visit([&](const auto& kind) { return evaluate(kind, frame); }, expression.value);
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const TextLiteral& literal,
                                                                Frame& /*frame*/)
{
    return literal.value;
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const Variable& variable,
                                                                Frame& frame)
{
    const auto found = frame.variables.find(variable.name);
    if (found != frame.variables.end()) return found->second;
    return failure(error(ScriptErrorNumber::undefinedVariable,
                         fmt::format("The variable {} is not defined.", variable.name)));
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const HandlerCall& call,
                                                                Frame& frame)
{
    const auto found = program_.handlers.find(call.name);
    if (found == program_.handlers.end() ||
        found->second.parameters.size() != call.arguments.size()) {
        return failure(error(ScriptErrorNumber::notUnderstood,
                             fmt::format("The script does not understand the {} message with {} "
                                         "parameters.",
                                         call.name, call.arguments.size())));
    }
    if (frame.depth == deepestCalls) {
        return failure(error(ScriptErrorNumber::stackOverflow, "Stack overflow."));
    }
    Frame called{.depth = frame.depth + 1};
    for (std::size_t index = 0; index < call.arguments.size(); ++index) {
        auto argument = evaluate(call.arguments[index], frame);
        if (!argument) return argument;
        called.variables.insert_or_assign(found->second.parameters[index], *std::move(argument));
    }
    return run(found->second.body, called).map([](Completion&& completion) {
        return std::move(completion.value);
    });
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const Operation& operation,
                                                                Frame& frame)
{
    auto operand = evaluate(*operation.operand, frame);
    if (!operand) return operand;
    switch (operation.kind) {
    case Operation::Kind::negation: return negate(*operand);
    case Operation::Kind::exists: return exists(*operand, frame);
    case Operation::Kind::folder: return folder(*operand, frame);
    case Operation::Kind::identifier: return identifier(*operand, frame);
    case Operation::Kind::posixFile: return posixFile(*operand);
    case Operation::Kind::alias: return alias(*operand);
    }
    return ScriptValue();
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::negate(const ScriptValue& operand) const
{
    return as<bool>(operand, "a condition").map([](bool value) { return ScriptValue(!value); });
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::exists(const ScriptValue& operand,
                                                              const Frame& frame)
{
    const auto folder = as<FolderReference>(operand, "a folder");
    if (!folder) return failure(folder.error());
    if (const auto told = requireTold(frame); !told) return failure(told.error());
    const auto found = application_->folderExists(folder->name);
    if (!found) return failure(error(found.error()));
    return ScriptValue(*found);
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::folder(const ScriptValue& operand,
                                                              const Frame& frame) const
{
    if (const auto told = requireTold(frame); !told) return failure(told.error());
    return as<SharedText>(operand, "a text").map([](const SharedText& name) {
        return ScriptValue(FolderReference{*name});
    });
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::identifier(const ScriptValue& operand,
                                                                  const Frame& frame) const
{
    if (const auto told = requireTold(frame); !told) return failure(told.error());
    const auto note = as<NoteReference>(operand, "a note");
    if (!note) return failure(note.error());
    // An application that has no id for its note answers with nothing.
    if (note->id.empty()) return ScriptValue();
    return ScriptValue(std::make_shared<const std::string>(note->id));
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::posixFile(const ScriptValue& operand) const
{
    return as<SharedText>(operand, "a text").map([](const SharedText& path) {
        return ScriptValue(FileReference{*path});
    });
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::alias(const ScriptValue& operand) const
{
    auto file = as<FileReference>(operand, "a file");
    if (!file) return failure(file.error());
    if (!fileExists(file->path)) {
        return failure(error(ScriptErrorNumber::fileNotFound,
                             fmt::format("File {} wasn't found.", file->path.native())));
    }
    file->isAlias = true;
    return ScriptValue(*std::move(file));
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::evaluate(const Make& make, Frame& frame)
{
    if (const auto told = requireTold(frame); !told) return failure(told.error());
    switch (make.objectClass) {
    case Make::Class::folder: return makeFolder(make, frame);
    case Make::Class::note: return makeNote(make, frame);
    case Make::Class::attachment: return makeAttachment(make, frame);
    }
    return ScriptValue();
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::makeFolder(const Make& make, Frame& frame)
{
    const auto name = textProperty(make, "name", frame);
    if (!name) return failure(name.error());
    const auto made = application_->makeFolder(**name);
    if (!made) return failure(error(made.error()));
    return ScriptValue(FolderReference{**name});
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::makeNote(const Make& make, Frame& frame)
{
    const auto folder = part<FolderReference>(make.location, "a folder", frame);
    if (!folder) return failure(folder.error());
    const auto name = textProperty(make, "name", frame);
    if (!name) return failure(name.error());
    const auto body = textProperty(make, "body", frame);
    if (!body) return failure(body.error());
    const auto made = application_->makeNote(folder->name, **name, **body);
    if (!made) return failure(error(made.error()));
    madeNotes_.push_back(*made);
    return ScriptValue(NoteReference{*made});
}

ScriptEvaluator::Outcome<ScriptValue> ScriptEvaluator::makeAttachment(const Make& make,
                                                                      Frame& frame)
{
    const auto note = part<NoteReference>(make.location, "a note", frame);
    if (!note) return failure(note.error());
    const auto file = part<FileReference>(make.data, "a file", frame);
    if (!file) return failure(file.error());
    const auto made = application_->makeAttachment(note->id, file->path);
    if (!made) return failure(error(made.error()));
    return ScriptValue(AttachmentReference{});
}

ScriptEvaluator::Outcome<SharedText>
ScriptEvaluator::textProperty(const Make& make, const std::string& name, Frame& frame)
{
    const auto found = make.properties.find(name);
    if (found == make.properties.end()) {
        return failure(error(ScriptErrorNumber::notUnderstood,
                             fmt::format("The property {} is missing.", name)));
    }
    return evaluate(found->second, frame).and_then([&](const ScriptValue& value) {
        return as<SharedText>(value, "a text");
    });
}

template <typename T>
ScriptEvaluator::Outcome<T> ScriptEvaluator::part(const std::unique_ptr<Expression>& expression,
                                                  std::string_view what, Frame& frame)
{
    if (!expression) {
        return failure(error(ScriptErrorNumber::notUnderstood,
                             fmt::format("What is to be made is missing {}.", what)));
    }
    return evaluate(*expression, frame).and_then([&](const ScriptValue& value) {
        return as<T>(value, what);
    });
}

template <typename T>
ScriptEvaluator::Outcome<T> ScriptEvaluator::as(const ScriptValue& value,
                                                std::string_view what) const
{
    if (const T* wanted = std::get_if<T>(&value)) return *wanted;
    return failure(
        error(ScriptErrorNumber::cannotCoerce, fmt::format("The value is not {}.", what)));
}

ScriptEvaluator::Outcome<void> ScriptEvaluator::requireTold(const Frame& frame) const
{
    if (frame.tells) return {};
    return failure(error(ScriptErrorNumber::notUnderstood, "No application is told to do this."));
}

ScriptError ScriptEvaluator::error(int number, std::string message) const
{
    return {.message = std::move(message), .number = number, .line = line_};
}

ScriptError ScriptEvaluator::error(const NotesFailure& failure) const
{
    return error(ScriptErrorNumber::applicationFailed, failure.description);
}

} // namespace korvane
