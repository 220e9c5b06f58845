on f(a, b)
set a to b
my f(a, b)
end f
return my f("x", not ((y)))