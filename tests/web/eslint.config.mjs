// Lint rules for the control page's scripts and their tests; scripts/lint runs them.
import js from '@eslint/js';
import globals from 'globals';

// Beyond the recommended ones; likely faults only, no layout.
const rules = {
    'array-callback-return': 'error',
    'consistent-return': 'error',
    eqeqeq: 'error',
    'no-control-regex': 'off', // the log has colours
    'no-shadow': ['error', {allow: ['before', 'after']}], // also functions of node:test
    'no-use-before-define': ['error', {functions: false}],
    'no-var': 'error',
    'prefer-const': 'error',
};

export default [
    js.configs.recommended,
    {rules},
    {files: ['web/page/*.js'], languageOptions: {globals: globals.browser}},
    // Parts of the tests run in the browser.
    {files: ['tests/web/*.mjs'], languageOptions: {globals: {...globals.node, ...globals.browser}}},
];
