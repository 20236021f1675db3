'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('hostile HTTP servers', require('./rows/http'));
