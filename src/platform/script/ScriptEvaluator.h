#pragma once

#include "platform/base/Result.h"
#include "platform/notes/NotesApplication.h"
#include "platform/script/ScriptError.h"
#include "platform/script/ScriptProgram.h"
#include "platform/script/ScriptValue.h"

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/**
 * Runs a program, once. The application is opened when the program first tells it something. When
 * the program fails, the notes that it has made are taken back: an attempt either succeeds or
 * leaves none. Handlers may call handlers; depth and number of steps are bounded.
 */
class ScriptEvaluator {
public:
    /** Both outlive the evaluator. */
    ScriptEvaluator(const ScriptProgram::Program& program, const OpenNotesApplication& open)
        : program_(program), open_(open)
    {
    }

    /** What the program returns, or the value of its last statement. */
    Result<ScriptValue, ScriptError> run();

private:
    template <typename T>
    using Outcome = Result<T, ScriptError>;

    /** The variables of a handler that runs, or of the program outside of handlers. */
    struct Frame {
        std::map<std::string, ScriptValue> variables;
        std::size_t depth = 0;
        /** Whether its statements are told to the application. */
        bool tells = false;
    };

    struct Completion {
        ScriptValue value;
        bool returned = false;
    };

    Outcome<Completion> run(const ScriptProgram::Block& block, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::Statement& statement, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::Expression& expression, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::Tell& tell, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::If& conditional, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::Set& assignment, Frame& frame);
    Outcome<Completion> run(const ScriptProgram::Return& returning, Frame& frame);

    Outcome<ScriptValue> evaluate(const ScriptProgram::Expression& expression, Frame& frame);
    Outcome<ScriptValue> evaluate(const ScriptProgram::TextLiteral& literal, Frame& frame);
    Outcome<ScriptValue> evaluate(const ScriptProgram::Variable& variable, Frame& frame);
    Outcome<ScriptValue> evaluate(const ScriptProgram::HandlerCall& call, Frame& frame);
    Outcome<ScriptValue> evaluate(const ScriptProgram::Operation& operation, Frame& frame);
    Outcome<ScriptValue> evaluate(const ScriptProgram::Make& make, Frame& frame);

    Outcome<ScriptValue> negate(const ScriptValue& operand) const;
    Outcome<ScriptValue> exists(const ScriptValue& operand, const Frame& frame);
    Outcome<ScriptValue> folder(const ScriptValue& operand, const Frame& frame) const;
    Outcome<ScriptValue> identifier(const ScriptValue& operand, const Frame& frame) const;
    Outcome<ScriptValue> posixFile(const ScriptValue& operand) const;
    Outcome<ScriptValue> alias(const ScriptValue& operand) const;

    Outcome<ScriptValue> makeFolder(const ScriptProgram::Make& make, Frame& frame);
    Outcome<ScriptValue> makeNote(const ScriptProgram::Make& make, Frame& frame);
    Outcome<ScriptValue> makeAttachment(const ScriptProgram::Make& make, Frame& frame);
    Outcome<SharedText> textProperty(const ScriptProgram::Make& make, const std::string& name,
                                     Frame& frame);
    /** The value of a part of a `make`, which must be there and of type T. */
    template <typename T>
    Outcome<T> part(const std::unique_ptr<ScriptProgram::Expression>& expression,
                    std::string_view what, Frame& frame);
    /** The value as a T, or the error that it is none. */
    template <typename T>
    Outcome<T> as(const ScriptValue& value, std::string_view what) const;

    Outcome<void> requireTold(const Frame& frame) const;
    ScriptError error(int number, std::string message) const;
    ScriptError error(const NotesFailure& failure) const;
    void takeBack();

    const ScriptProgram::Program& program_;
    const OpenNotesApplication& open_;
    std::unique_ptr<NotesApplication> application_;
    std::vector<std::string> madeNotes_;
    std::size_t steps_ = 0;
    /** Where the program is, for errors. */
    std::size_t line_ = 0;
};

} // namespace korvane
