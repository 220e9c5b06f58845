#include "platform/script/ScriptParser.h"

#include "platform/script/ScriptLexer.h"
#include "platform/text/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace korvane {

using namespace ScriptProgram;

namespace {

constexpr unsigned deepestNesting = 64;

/** Words that name nothing. */
constexpr std::array keywords =
    std::to_array<std::string_view>({"on", "end", "tell", "if", "then", "set", "to", "return",
                                     "not", "my", "make", "new", "exists", "with", "POSIX"});

/**
 * Recursive descent with one token of foresight. After the first error the rest of the program
 * reads as its end: every function then comes back without looking further, with whatever it has.
 */
class Parser {
public:
    explicit Parser(std::string_view source) : lexer_(source) { advance(); }

    Result<Program, ScriptError> parse();

private:
    /** One level of nesting; refuses the program that has too many. */
    class Level {
    public:
        explicit Level(Parser& parser) : parser_(parser)
        {
            if (++parser_.depth_ > deepestNesting)
                parser_.fail("the program is nested too deeply.");
        }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;
        ~Level() { --parser_.depth_; }

    private:
        Parser& parser_;
    };

    void handler(Program& program);
    Block block();
    Statement statement();
    Tell tell();
    If conditional();
    Set assignment();
    Return returning();

    Expression expression();
    Expression primary();
    static Expression operation(Operation::Kind kind, Expression operand);
    HandlerCall handlerCall();
    Make make();
    Make::Class objectClass();
    std::map<std::string, Expression> record();
    static std::unique_ptr<Expression> boxed(Expression operand);

    bool atEnd() const { return token_.kind == ScriptToken::Kind::programEnd; }
    bool atLineEnd() const { return token_.kind == ScriptToken::Kind::lineEnd; }
    void advance();
    bool accept(std::string_view wordOrSymbol);
    void expect(std::string_view wordOrSymbol);
    void expectLineEnd();
    void skipLineEnds();
    std::string name();
    std::string textLiteral();
    void endBlock(std::string_view word);
    void failExpecting(std::string_view what);
    void fail(const std::string& message);
    void stop(ScriptError error);

    ScriptLexer lexer_;
    ScriptToken token_;
    unsigned depth_ = 0;
    std::optional<ScriptError> error_;
};

Result<Program, ScriptError> Parser::parse()
{
    Program program;
    for (skipLineEnds(); !atEnd(); skipLineEnds()) {
        if (accept("on")) {
            handler(program);
        } else {
            program.body.push_back(statement());
        }
        expectLineEnd();
    }
    if (error_) return failure(*std::move(error_));
    return program;
}

void Parser::handler(Program& program)
{
    const std::string handlerName = name();
    Handler handler;
    expect("(");
    while (!atEnd() && !accept(")")) {
        if (!handler.parameters.empty()) expect(",");
        handler.parameters.push_back(name());
    }
    expectLineEnd();
    handler.body = block();
    endBlock(handlerName);
    program.handlers.insert_or_assign(handlerName, std::move(handler));
}

Block Parser::block()
{
    const Level level(*this);
    Block statements;
    for (skipLineEnds(); !atEnd() && !token_.isWord("end"); skipLineEnds()) {
        statements.push_back(statement());
        expectLineEnd();
    }
    return statements;
}

Statement Parser::statement()
{
    const std::size_t line = token_.line;
    if (accept("tell")) return {tell(), line};
    if (accept("if")) return {conditional(), line};
    if (accept("set")) return {assignment(), line};
    if (accept("return")) return {returning(), line};
    return {expression(), line};
}

Tell Parser::tell()
{
    expect("application");
    Tell tell{.application = textLiteral()};
    expectLineEnd();
    tell.body = block();
    endBlock("tell");
    return tell;
}

If Parser::conditional()
{
    If conditional{.condition = expression()};
    expect("then");
    expectLineEnd();
    conditional.body = block();
    endBlock("if");
    return conditional;
}

Set Parser::assignment()
{
    Set assignment{.variable = name()};
    expect("to");
    assignment.value = expression();
    return assignment;
}

Return Parser::returning()
{
    if (atLineEnd() || atEnd()) return {};
    return {expression()};
}

Expression Parser::expression()
{
    const Level level(*this);
    if (accept("not")) return operation(Operation::Kind::negation, expression());
    Expression result = primary();
    if (!accept("as")) return result;
    expect("alias");
    return operation(Operation::Kind::alias, std::move(result));
}

Expression Parser::primary()
{
    const Level level(*this);
    const std::size_t line = token_.line;
    if (token_.kind == ScriptToken::Kind::text) {
        return {TextLiteral{std::make_shared<const std::string>(textLiteral())}, line};
    }
    if (accept("(")) {
        Expression inner = expression();
        expect(")");
        return inner;
    }
    if (accept("exists")) return operation(Operation::Kind::exists, primary());
    if (accept("folder")) return operation(Operation::Kind::folder, primary());
    if (accept("id")) {
        expect("of");
        return operation(Operation::Kind::identifier, primary());
    }
    if (accept("POSIX")) {
        expect("file");
        return operation(Operation::Kind::posixFile, primary());
    }
    if (accept("my")) return {handlerCall(), line};
    if (accept("make")) return {make(), line};
    return {Variable{name()}, line};
}

Expression Parser::operation(Operation::Kind kind, Expression operand)
{
    Expression result{Operation{.kind = kind}, operand.line};
    std::get<Operation>(result.value).operand = boxed(std::move(operand));
    return result;
}

HandlerCall Parser::handlerCall()
{
    HandlerCall call{.name = name()};
    expect("(");
    while (!atEnd() && !accept(")")) {
        if (!call.arguments.empty()) expect(",");
        call.arguments.push_back(expression());
    }
    return call;
}

Make Parser::make()
{
    expect("new");
    Make make{.objectClass = objectClass()};
    if (accept("at")) make.location = boxed(primary());
    while (accept("with")) {
        if (accept("data")) {
            make.data = boxed(primary());
        } else {
            expect("properties");
            make.properties = record();
        }
    }
    return make;
}

Make::Class Parser::objectClass()
{
    if (accept("folder")) return Make::Class::folder;
    if (accept("note")) return Make::Class::note;
    expect("attachment");
    return Make::Class::attachment;
}

std::map<std::string, Expression> Parser::record()
{
    std::map<std::string, Expression> properties;
    expect("{");
    while (!atEnd() && !accept("}")) {
        if (!properties.empty()) expect(",");
        std::string property = name();
        expect(":");
        properties.insert_or_assign(std::move(property), expression());
    }
    return properties;
}

std::unique_ptr<Expression> Parser::boxed(Expression operand)
{
    return std::make_unique<Expression>(std::move(operand));
}

void Parser::advance()
{
    auto next = lexer_.next();
    if (next) {
        token_ = *std::move(next);
    } else {
        stop(std::move(next.error()));
    }
}

bool Parser::accept(std::string_view wordOrSymbol)
{
    if (!token_.isWord(wordOrSymbol) && !token_.isSymbol(wordOrSymbol)) return false;
    advance();
    return true;
}

void Parser::expect(std::string_view wordOrSymbol)
{
    if (!accept(wordOrSymbol)) failExpecting(fmt::format("\"{}\"", wordOrSymbol));
}

void Parser::expectLineEnd()
{
    if (atLineEnd()) {
        advance();
    } else if (!atEnd()) {
        failExpecting("the end of the line");
    }
}

void Parser::skipLineEnds()
{
    while (atLineEnd()) advance();
}

std::string Parser::name()
{
    if (token_.kind != ScriptToken::Kind::word || std::ranges::count(keywords, token_.source) > 0) {
        failExpecting("a name");
        return {};
    }
    std::string word(token_.source);
    advance();
    return word;
}

std::string Parser::textLiteral()
{
    if (token_.kind != ScriptToken::Kind::text) failExpecting("a text");
    std::string text = std::move(token_.text);
    advance();
    return text;
}

void Parser::endBlock(std::string_view word)
{
    expect("end");
    if (!atLineEnd() && !atEnd()) expect(word);
}

void Parser::failExpecting(std::string_view what)
{
    constexpr std::size_t quoted = 40;
    const std::string_view found = text::prefixOfSequences(token_.source, quoted);
    fail(fmt::format("expected {}, but found {}.", what,
                     atEnd()       ? "the end of the program"
                     : atLineEnd() ? "the end of the line"
                                   : fmt::format("\"{}\"", found)));
}

void Parser::fail(const std::string& message)
{
    stop(syntaxError(token_.line, message));
}

void Parser::stop(ScriptError error)
{
    if (!error_) error_ = std::move(error);
    token_ = {};
    lexer_ = ScriptLexer({});
}

} // namespace

Result<Program, ScriptError> parseScript(std::string_view source)
{
    return Parser(source).parse();
}

} // namespace korvane
