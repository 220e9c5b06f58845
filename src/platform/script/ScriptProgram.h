#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/** A program that has been read: a tree of values, of bounded depth. */
namespace korvane::ScriptProgram {

struct Expression;
struct Statement;

/** Its statements run one after the other. */
using Block = std::vector<Statement>;

struct TextLiteral {
    /** Shared, because it may be megabytes and is handed on often. */
    std::shared_ptr<const std::string> value;
};

struct Variable {
    std::string name;
};

/** `my name(arguments)` */
struct HandlerCall {
    std::string name;
    std::vector<Expression> arguments;
};

/** An operator in front of, or behind, its operand. */
struct Operation {
    enum class Kind { negation, exists, folder, identifier, posixFile, alias };

    Kind kind = Kind::negation;
    std::unique_ptr<Expression> operand;
};

/** `make new folder|note|attachment at .. with properties {..} with data ..` */
struct Make {
    enum class Class { folder, note, attachment };

    Class objectClass = Class::folder;
    std::unique_ptr<Expression> location;
    std::map<std::string, Expression> properties;
    std::unique_ptr<Expression> data;
};

struct Expression {
    std::variant<TextLiteral, Variable, HandlerCall, Operation, Make> value;
    std::size_t line = 0;
};

/** `tell application "name"` up to `end tell` */
struct Tell {
    std::string application;
    Block body;
};

/** `if condition then` up to `end if` */
struct If {
    Expression condition;
    Block body;
};

/** `set variable to value` */
struct Set {
    std::string variable;
    Expression value;
};

struct Return {
    std::optional<Expression> value;
};

struct Statement {
    std::variant<Expression, Tell, If, Set, Return> value;
    std::size_t line = 0;
};

/** `on name(parameters)` up to `end name` */
struct Handler {
    std::vector<std::string> parameters;
    Block body;
};

struct Program {
    std::map<std::string, Handler> handlers;
    Block body;
};

} // namespace korvane::ScriptProgram
