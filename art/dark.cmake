# The colours of the pictures of the default look, by what they are for.
set(card "#1B1F25")
set(raised "#252B33")
set(line "#323A44")
set(product "#4DB5FF")
