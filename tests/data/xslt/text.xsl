<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:output method="text"/>
<xsl:template match="/">title=<xsl:value-of select="page/@title"/><xsl:text>&#10;</xsl:text><xsl:apply-templates/></xsl:template>
</xsl:stylesheet>
