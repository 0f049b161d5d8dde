namespace tlx{}
